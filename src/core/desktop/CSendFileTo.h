#pragma once
// Hands one file to the user's mail program so that a new message opens with the file
// attached: `xdg-email --attach FILE`, started detached (the mail program outlives us and
// reports its own problems to the user).

#include <QString>

class CSendFileTo {
public:
    // False when `path` is empty, when no xdg-email is on the PATH or when it cannot be
    // started; the caller decides what to show. An empty subject is left out.
    bool Send(const QString& path, const QString& subject = QString()) const;
};
