#pragma once
// The code page of an archive's entry names. Zip names without the UTF-8 flag, and names of
// other formats that are not valid UTF-8, are in whatever code page the packing system used;
// the archive does not say which. One decision per archive: the user's choice, else what the
// names themselves suggest, taken from all of them together (one name alone is often too
// short to tell). Listing, unpacking, testing and editing all ask here, so they agree.
//
// Encodings are named by ICU converter names ("IBM866", "GBK", "Shift_JIS", "UTF-8"); an
// empty name means "nothing to decide" (every name is ASCII or marked as UTF-8).

#include <QByteArray>
#include <QList>
#include <QSet>
#include <QString>
#include <vector>

namespace vz {

// A code page offered to the user, with its readable name.
struct NameEncodingOption {
    QString id;
    QString label;
};
// UTF-8 first, then the DOS, Windows and East Asian code pages that archives carry.
const std::vector<NameEncodingOption>& OfferedNameEncodings();
// The readable name of an encoding ("Cyrillic (DOS, 866)"); the id itself for one not offered.
QString NameEncodingLabel(const QString& id);
// The encoding that a user's name means (an ICU name or alias: "cp866", "gbk", "shift_jis",
// "utf-8"), as the id used here; empty when no converter has that name.
QString CanonicalNameEncoding(const QString& name);

// The most plausible code page of `names` (raw bytes, none marked as UTF-8): empty when all
// are ASCII; "UTF-8" when all are valid UTF-8; else the candidate that decodes every name and
// reads most like real names. `localeHint` (a locale name such as "ru_RU.UTF-8") breaks ties.
QString DetectNameEncoding(const QList<QByteArray>& names, const QString& localeHint);
// The same with the locale of the environment (LC_ALL, LC_CTYPE, LANG).
QString DetectNameEncoding(const QList<QByteArray>& names);

// `raw` as text in `encoding`. ASCII bytes stay as they are; "UTF-8" (and an empty encoding
// for a name that is valid UTF-8) keeps stray bytes as the disk-name escapes; bytes that the
// code page cannot decode become U+FFFD.
QString DecodeNameBytes(const QByteArray& raw, const QString& encoding);

// How the names of one archive are decoded during one listing or pass.
struct EntryNameDecoding {
    // The code page of names that are not marked as UTF-8; empty while undecided (then such
    // names are read as code page 437, the zip default).
    QString encoding;
    // Raw names that are in the code page even where they read as valid UTF-8: a zip's names
    // without the flag (a reader that loses the flag still decodes them alike).
    QSet<QByteArray> codePageNames;

    // A name that a reader gives as `utf8` (null when the bytes are not valid UTF-8) and `raw`.
    QString Decode(const char* utf8, const char* raw) const;
};

// The process-wide memory of decisions, keyed by the archive's file (thread-safe).
namespace NameEncodings {
// The user's choice for the archive at `path`; empty clears it. Lasts until the program exits.
void SetChoice(const QString& path, const QString& encoding);
QString Choice(const QString& path);
// Grows with every SetChoice: a reader that remembers it knows when to look again.
quint64 ChoiceSerial();
// The decision when one is known without reading names: the choice, else the detection
// remembered for this file as it is now (size and time). False when neither is known.
bool Known(const QString& path, QString* encoding);
// The decision for the archive whose undecided names are `names`: the choice, else the
// detection (remembered for the file as it is now, and for Detected). `written` names the
// encoding when the archive itself tells how its names were written: detection is skipped.
QString Resolve(const QString& path, const QList<QByteArray>& names,
                const QString& written = QString());
// What detection found for the archive (remembered), whatever the user chose; empty when the
// archive has not been listed since it last changed or has nothing to decide.
QString Detected(const QString& path);
}  // namespace NameEncodings

}  // namespace vz
