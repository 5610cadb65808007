#pragma once
// The observer of a long operation (unpack, pack, copy): it shows progress, tells whether
// the user asked to stop, and answers the operation's questions. The GUI implements it
// with its progress dialogs; the command-line program with its terminal or its options.
//
// Every call comes from the thread that runs the operation, between blocks and entries.

#include <QString>
#include <QtGlobal>

#include "common/Texts.h"

// The four answers of a replace or overwrite question.
enum class ReplaceAnswer { Yes = 1, YesToAll = 2, No = 3, Cancel = 4 };

// One side of an overwrite question: a file on disk or an entry in an archive.
struct ItemFacts {
    QString path;  // full disk path, or the inner path of an archive entry
    quint64 size = 0;
    bool sizeKnown = false;
    vz::FileTime modified;
    quint32 attributes = 0;  // DosAttribute bits (read-only 1, hidden 2, system 4)
};

struct OverwriteQuestion {
    ItemFacts existing;  // what is there now and would be replaced
    ItemFacts incoming;  // what would replace it
};

class IOperationObserver {
public:
    virtual ~IOperationObserver() = default;
    // Percent done (0 to 100) and the name of the item being worked on (may be empty).
    virtual void Progress(int percent, const QString& currentName) = 0;
    // Polled between blocks; may process pending user-interface events. True ends the
    // operation as soon as what is under way can be left cleanly.
    virtual bool StopRequested() = 0;
    // Asked before an existing item is replaced (only where the settings ask for it).
    virtual ReplaceAnswer AskOverwrite(const OverwriteQuestion& question) = 0;
    // Asked when an encrypted entry needs a password. `retry` is true when the previous
    // answer was wrong. False means the user cancelled.
    virtual bool AskPassword(const QString& archivePath, const QString& entryPath, bool retry,
                             QString* password) = 0;
    // A note about one item that was refused or skipped (an unsafe entry name, a link that
    // leads outside the destination, an entry that failed). The operation goes on.
    virtual void Report(const QString& message) { Q_UNUSED(message) }
};

// Told of each item that an operation writes, so that a browser can show it at once.
class IItemListener {
public:
    virtual ~IItemListener() = default;
    virtual void ItemAdded(const QString& fullPath) = 0;
};
