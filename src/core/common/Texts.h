#pragma once
// Texts shared by every part of the program: number grouping, date and time texts,
// the rules for names that users type, and the case-insensitive ordering of listings.

#include <QString>
#include <QStringList>
#include <ctime>

namespace vz {

// Decimal digits with one blank between groups of three from the right, whatever the
// locale says: 1234567 gives "1 234 567", 123 stays "123".
QString GroupDigits(unsigned long long value);

// A point in time as seconds since the Unix epoch, with a flag for "unknown".
struct FileTime {
    qint64 seconds = 0;
    bool known = false;
    static FileTime FromUnix(qint64 s) { return FileTime{s, true}; }
};

// Local time written with a strftime format such as "%x %X" or "%x, %X" in the user's
// locale. A time whose year lies before 1900, or an unknown time, gives an empty text.
QString FormatLocalTime(FileTime time, const char* format);
inline QString FormatStatusTime(FileTime t) {
    return FormatLocalTime(t, "%x %X");
}
inline QString FormatConfirmTime(FileTime t) {
    return FormatLocalTime(t, "%x, %X");
}

// The nine characters that a file or folder name never holds: \ / : * ? " < > |
extern const char kForbiddenNameChars[];
bool HasForbiddenNameChar(const QString& name);
// A name as the user typed it, without leading and trailing blanks.
QString TrimName(const QString& name);

// Case-insensitive comparison used by every listing.
int CompareNoCase(const QString& a, const QString& b);
bool EqualsNoCase(const QString& a, const QString& b);
bool StartsWithNoCase(const QString& text, const QString& prefix);

}  // namespace vz

// A string list that sorts ascending without regard to case; equal strings keep their
// order (a stable sort: the same result as repeated passes of adjacent swaps).
class CSortStringArray : public QStringList {
public:
    using QStringList::QStringList;
    void Sort();
};
