#include "archive/NameEncoding.h"

#include <unicode/ucnv.h>
#include <unicode/ucsdet.h>

#include <QDateTime>
#include <QFileInfo>
#include <QHash>
#include <QMutex>
#include <QStringList>
#include <algorithm>
#include <atomic>

#include "platform/FileSystem.h"

// Detection. Every candidate code page decodes all names strictly (one name it cannot decode
// rules it out); each decoding is then charged for what real names rarely hold: box-drawing
// and other graphic characters, control characters, letters of two scripts in one word,
// a capital after a small letter, long runs of accented Latin letters (CJK bytes read as a
// single-byte code page), and, for the East Asian code pages, characters outside the
// frequently used block of the code page (CJK bytes of one code page read as another decode
// to rare characters). The cheapest decoding wins; ties go to the East Asian code page that
// ICU's detector finds most likely (it needs a dozen characters to tell), then to the user's
// locale, then to the order below.

namespace vz {

namespace {

enum class Cjk { None, Gbk, Big5, ShiftJis, Korean };

struct Candidate {
    const char* id;
    const char* label;
    const char* aliases;  // lower case, space-separated, besides ICU's own names
    const char* locales;  // language (or language_TERRITORY) prefixes that prefer it
    Cjk cjk;
    bool detected;  // a detection candidate, not only offered
};

const Candidate kCandidates[] = {
    {"UTF-8", "Unicode (UTF-8)", "utf8", "", Cjk::None, false},
    {"IBM437", "Western (DOS, 437)", "cp437 437 dos-437", "en", Cjk::None, true},
    {"IBM850", "Western European (DOS, 850)", "cp850 850",
     "de fr es it pt nl da sv nb nn no fi is ca", Cjk::None, true},
    {"IBM852", "Central European (DOS, 852)", "cp852 852", "pl cs sk hu hr sl ro bs", Cjk::None,
     true},
    {"IBM866", "Cyrillic (DOS, 866)", "cp866 866", "ru uk be bg", Cjk::None, true},
    {"windows-1250", "Central European (Windows, 1250)", "cp1250 1250", "pl cs sk hu hr sl ro bs",
     Cjk::None, true},
    {"windows-1251", "Cyrillic (Windows, 1251)", "cp1251 1251", "ru uk be bg mk sr", Cjk::None,
     true},
    {"windows-1252", "Western (Windows, 1252)", "cp1252 1252",
     "de fr es it pt nl da sv nb nn no fi is ca", Cjk::None, true},
    {"GBK", "Chinese Simplified (GBK)", "gbk cp936 936 gb2312 windows-936", "zh_CN zh_SG", Cjk::Gbk,
     true},
    {"GB18030", "Chinese Simplified (GB18030)", "gb18030", "", Cjk::None, false},
    {"Big5", "Chinese Traditional (Big5)", "big5 cp950 950 windows-950", "zh_TW zh_HK", Cjk::Big5,
     true},
    {"Shift_JIS", "Japanese (Shift-JIS)", "shift_jis sjis shift-jis cp932 932 windows-31j ms932",
     "ja", Cjk::ShiftJis, true},
    {"windows-949", "Korean (EUC-KR)", "euc-kr euckr cp949 949 uhc", "ko", Cjk::Korean, true},
};

// Open converters of one thread, by encoding and strictness.
class Converters {
public:
    ~Converters() {
        for (UConverter* c : std::as_const(m_open))
            if (c)
                ucnv_close(c);
    }
    UConverter* Get(const QString& id, bool strict) {
        // A listing asks for one converter name after name.
        if (m_last && strict == m_lastStrict && id == m_lastId)
            return m_last;
        m_last = Find(id, strict);
        m_lastId = id;
        m_lastStrict = strict;
        return m_last;
    }

private:
    UConverter* Find(const QString& id, bool strict) {
        const QString key = id + (strict ? QLatin1Char('!') : QLatin1Char('~'));
        auto it = m_open.constFind(key);
        if (it != m_open.constEnd())
            return it.value();
        UErrorCode err = U_ZERO_ERROR;
        UConverter* c = ucnv_open(id.toLatin1().constData(), &err);
        if (U_FAILURE(err)) {
            c = nullptr;
        } else if (strict) {
            ucnv_setToUCallBack(c, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &err);
        }
        m_open.insert(key, c);
        return c;
    }

    QHash<QString, UConverter*> m_open;
    UConverter* m_last = nullptr;
    QString m_lastId;
    bool m_lastStrict = false;
};

thread_local Converters t_converters;

bool IcuDecode(UConverter* c, const QByteArray& raw, QString* out) {
    if (!c)
        return false;
    ucnv_reset(c);
    UErrorCode err = U_ZERO_ERROR;
    out->resize(raw.size() * 2 + 1);
    const int32_t n =
        ucnv_toUChars(c, reinterpret_cast<UChar*>(out->data()), static_cast<int32_t>(out->size()),
                      raw.constData(), static_cast<int32_t>(raw.size()), &err);
    if (U_FAILURE(err))
        return false;
    out->resize(n);
    return true;
}

bool IsAscii(const QByteArray& raw) {
    for (char c : raw)
        if (static_cast<unsigned char>(c) >= 0x80)
            return false;
    return true;
}

bool IsUtf8(const QByteArray& raw) {
    return QByteArrayView(raw).isValidUtf8();
}

// What the bytes of an East Asian code page cost: double-byte codes outside the block of
// frequently used characters (and the single-byte katakana of Shift-JIS) cost more.
int ByteCost(Cjk cjk, const QByteArray& raw) {
    int cost = 0;
    const int size = static_cast<int>(raw.size());
    for (int i = 0; i < size; ++i) {
        const int b = static_cast<unsigned char>(raw[i]);
        if (b < 0x80)
            continue;
        if (cjk == Cjk::ShiftJis && b >= 0xA1 && b <= 0xDF) {
            cost += 2;  // half-width katakana
            continue;
        }
        const int t = i + 1 < size ? static_cast<unsigned char>(raw[i + 1]) : 0;
        ++i;
        switch (cjk) {
            case Cjk::Gbk:
                if (t >= 0xA1 && b >= 0xB0 && b <= 0xD7)
                    break;  // GB2312 level 1
                cost += t >= 0xA1 && ((b >= 0xD8 && b <= 0xF7) || b <= 0xA3) ? 1 : 2;
                break;
            case Cjk::Big5:
                if (b >= 0xA4 && b <= 0xC6)
                    break;  // frequently used characters
                cost += (b >= 0xC9 && b <= 0xF9) || (b >= 0xA1 && b <= 0xA3) ? 1 : 2;
                break;
            case Cjk::ShiftJis:
                if ((b >= 0x88 && b <= 0x98) || b == 0x82 || b == 0x83)
                    break;  // level 1 kanji, kana
                cost += b == 0x81 || (b >= 0x99 && b <= 0x9F) || (b >= 0xE0 && b <= 0xEA) ? 1 : 2;
                break;
            case Cjk::Korean:
                if (t >= 0xA1 && b >= 0xB0 && b <= 0xC8)
                    break;  // KS X 1001 Hangul
                cost += t >= 0xA1 && b >= 0xA1 && b <= 0xA3 ? 1 : 2;
                break;
            case Cjk::None:
                break;
        }
    }
    return cost;
}

enum class Script { None, Latin, Cyrillic, Greek, Cjk, Hangul, Other };

Script ScriptOf(QChar c) {
    switch (c.script()) {
        case QChar::Script_Latin:
            return Script::Latin;
        case QChar::Script_Cyrillic:
            return Script::Cyrillic;
        case QChar::Script_Greek:
            return Script::Greek;
        case QChar::Script_Han:
        case QChar::Script_Hiragana:
        case QChar::Script_Katakana:
            return Script::Cjk;
        case QChar::Script_Hangul:
            return Script::Hangul;
        default:
            return Script::Other;
    }
}

// What one character that is not ASCII costs by itself.
int CharCost(QChar c) {
    const char16_t u = c.unicode();
    switch (c.category()) {
        case QChar::Other_Control:
        case QChar::Other_PrivateUse:
        case QChar::Other_NotAssigned:
        case QChar::Other_Surrogate:
        case QChar::Other_Format:
            return 10;
        default:
            break;
    }
    if (u == 0xFFFD)
        return 10;
    if (u >= 0x2500 && u <= 0x25FF)
        return 6;  // box drawing, blocks, shapes
    if (u >= 0x2190 && u <= 0x23FF)
        return 5;  // arrows, mathematical and technical signs
    if (c.isLetter()) {
        if (u == 0x0192)
            return 3;  // the florin sign of the DOS code pages
        if ((u >= 0x00C0 && u <= 0x00FF) || (u >= 0x0410 && u <= 0x044F) || u == 0x0401 ||
            u == 0x0451)
            return 0;
        switch (ScriptOf(c)) {
            case Script::Latin:
            case Script::Cyrillic:
                return 1;
            case Script::Cjk:
            case Script::Hangul:
                return 0;
            case Script::Greek:
                return 2;
            default:
                return 3;
        }
    }
    if (u == 0x00A0 || u == 0x00AD)
        return 4;
    if ((u >= 0xFF01 && u <= 0xFF5E) || (u >= 0x3000 && u <= 0x303F) || u == 0x2116)
        return 0;  // full-width forms, CJK punctuation, the numero sign
    if ((u >= 0x2010 && u <= 0x2026) || u == 0x00AB || u == 0x00BB || u == 0x00B0)
        return 1;
    return 3;
}

// What a decoded name costs as a whole.
int TextCost(const QString& text) {
    int cost = 0;
    QSet<Script> wordScripts;
    bool wordHasNonAscii = false;
    int latinRun = 0;
    QChar previous;
    const auto endWord = [&] {
        if (wordHasNonAscii && wordScripts.size() > 1)
            cost +=
                wordScripts.contains(Script::Cjk) || wordScripts.contains(Script::Hangul) ? 2 : 4;
        wordScripts.clear();
        wordHasNonAscii = false;
    };
    for (const QChar c : text) {
        const bool ascii = c.unicode() < 0x80;
        if (!ascii)
            cost += CharCost(c);
        if (c.isLetter()) {
            wordScripts.insert(ascii ? Script::Latin : ScriptOf(c));
            wordHasNonAscii = wordHasNonAscii || !ascii;
            if (!ascii && c.isUpper() && previous.isLower())
                cost += 2;
        } else {
            endWord();
        }
        if (!ascii && c.isLetter() && ScriptOf(c) == Script::Latin) {
            if (++latinRun >= 3)
                cost += 2;
        } else {
            latinRun = 0;
        }
        previous = c;
    }
    endWord();
    return cost;
}

bool LocalePrefers(const Candidate& c, const QString& locale) {
    if (locale.isEmpty())
        return false;
    const QStringList prefixes = QString::fromLatin1(c.locales).split(QLatin1Char(' '));
    for (const QString& p : prefixes)
        if (!p.isEmpty() && locale.startsWith(p) &&
            (locale.size() == p.size() || !locale.at(p.size()).isLetter()))
            return true;
    return false;
}

// ICU's detector's confidence (0-100) for each East Asian candidate, from the names together.
// It weighs how many of the most frequent characters of each language the bytes hold; for
// a handful of characters it cannot tell and gives them all the same.
QHash<Cjk, int> DetectorConfidence(const QList<QByteArray>& names) {
    QHash<Cjk, int> confidence;
    QByteArray text;
    for (const QByteArray& n : names)
        if (!IsAscii(n))
            text += n + '\n';
    UErrorCode err = U_ZERO_ERROR;
    UCharsetDetector* det = ucsdet_open(&err);
    if (U_FAILURE(err))
        return confidence;
    ucsdet_setText(det, text.constData(), static_cast<int32_t>(text.size()), &err);
    int32_t count = 0;
    const UCharsetMatch** matches = ucsdet_detectAll(det, &count, &err);
    static const struct {
        const char* name;
        Cjk cjk;
    } kNames[] = {{"GB18030", Cjk::Gbk},
                  {"Big5", Cjk::Big5},
                  {"Shift_JIS", Cjk::ShiftJis},
                  {"EUC-KR", Cjk::Korean}};
    for (int32_t i = 0; U_SUCCESS(err) && i < count; ++i) {
        const char* name = ucsdet_getName(matches[i], &err);
        for (const auto& k : kNames)
            if (name && qstrcmp(name, k.name) == 0)
                confidence.insert(k.cjk, ucsdet_getConfidence(matches[i], &err));
    }
    ucsdet_close(det);
    return confidence;
}

const Candidate* FindCandidate(const QString& id) {
    for (const Candidate& c : kCandidates)
        if (id == QLatin1String(c.id))
            return &c;
    return nullptr;
}

}  // namespace

const std::vector<NameEncodingOption>& OfferedNameEncodings() {
    static const std::vector<NameEncodingOption> kOptions = [] {
        std::vector<NameEncodingOption> options;
        for (const Candidate& c : kCandidates)
            options.push_back({QString::fromLatin1(c.id), QString::fromLatin1(c.label)});
        return options;
    }();
    return kOptions;
}

QString NameEncodingLabel(const QString& id) {
    const Candidate* c = FindCandidate(id);
    return c ? QString::fromLatin1(c->label) : id;
}

QString CanonicalNameEncoding(const QString& name) {
    const QString lower = name.trimmed().toLower();
    if (lower.isEmpty())
        return QString();
    for (const Candidate& c : kCandidates) {
        if (lower == QString::fromLatin1(c.id).toLower() ||
            QString::fromLatin1(c.aliases).split(QLatin1Char(' ')).contains(lower))
            return QString::fromLatin1(c.id);
    }
    UErrorCode err = U_ZERO_ERROR;
    UConverter* conv = ucnv_open(lower.toLatin1().constData(), &err);
    if (U_FAILURE(err) || err == U_AMBIGUOUS_ALIAS_WARNING || !conv) {
        if (conv)
            ucnv_close(conv);
        return QString();
    }
    const QString internal = QString::fromLatin1(ucnv_getName(conv, &err));
    ucnv_close(conv);
    // An offered code page under another ICU alias is named by its offered id.
    for (const Candidate& c : kCandidates) {
        UErrorCode e = U_ZERO_ERROR;
        const char* canonical = ucnv_getAlias(c.id, 0, &e);
        if (U_SUCCESS(e) && canonical && internal == QLatin1String(canonical))
            return QString::fromLatin1(c.id);
    }
    return internal;
}

QString DetectNameEncoding(const QList<QByteArray>& names, const QString& localeHint) {
    // The candidates are ranked on a sample of the names (a few hundred tell as much as all
    // of them); the best ranked one that decodes every name wins.
    constexpr int kSample = 400;
    QList<QByteArray> sample;
    bool allUtf8 = true;
    for (const QByteArray& n : names) {
        if (IsAscii(n))
            continue;
        allUtf8 = allUtf8 && IsUtf8(n);
        if (sample.size() < kSample)
            sample << n;
    }
    if (sample.isEmpty())
        return QString();
    if (allUtf8)
        return QStringLiteral("UTF-8");
    const QHash<Cjk, int> confidence = DetectorConfidence(sample);
    struct Ranked {
        const Candidate* candidate;
        int cost, confidence;
        bool preferred;
    };
    std::vector<Ranked> ranked;
    QString text;
    for (const Candidate& c : kCandidates) {
        UConverter* conv = c.detected ? t_converters.Get(QString::fromLatin1(c.id), true) : nullptr;
        if (!conv)
            continue;
        int cost = 0;
        bool decodes = true;
        for (const QByteArray& n : sample) {
            decodes = IcuDecode(conv, n, &text);
            if (!decodes)
                break;
            cost += TextCost(text) + (c.cjk == Cjk::None ? 0 : ByteCost(c.cjk, n));
        }
        if (decodes)
            ranked.push_back({&c, cost, confidence.value(c.cjk), LocalePrefers(c, localeHint)});
    }
    std::stable_sort(ranked.begin(), ranked.end(), [](const Ranked& x, const Ranked& y) {
        if (x.cost != y.cost)
            return x.cost < y.cost;
        if (x.confidence != y.confidence)
            return x.confidence > y.confidence;
        return x.preferred && !y.preferred;
    });
    for (const Ranked& r : ranked) {
        UConverter* conv = t_converters.Get(QString::fromLatin1(r.candidate->id), true);
        const bool decodesAll = std::all_of(names.begin(), names.end(), [&](const QByteArray& n) {
            return IsAscii(n) || IcuDecode(conv, n, &text);
        });
        if (decodesAll)
            return QString::fromLatin1(r.candidate->id);
    }
    return QStringLiteral("IBM437");  // every DOS code page decodes anything: not reached
}

QString DetectNameEncoding(const QList<QByteArray>& names) {
    QString locale;
    for (const char* var : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        locale = qEnvironmentVariable(var);
        if (!locale.isEmpty())
            break;
    }
    return DetectNameEncoding(names, locale);
}

QString DecodeNameBytes(const QByteArray& raw, const QString& encoding) {
    if (IsAscii(raw))
        return QString::fromLatin1(raw);
    QString text;
    if (!encoding.isEmpty() && encoding != QLatin1String("UTF-8") &&
        IcuDecode(t_converters.Get(encoding, false), raw, &text))
        return text;
    // `raw` need not end in a NUL (it may only point into a directory read whole).
    const QByteArray terminated(raw.constData(), raw.size());
    return platform::DecodePath(terminated.constData());
}

QString EntryNameDecoding::Decode(const char* utf8, const char* raw) const {
    if (raw && (!utf8 || codePageNames.contains(QByteArray::fromRawData(raw, qstrlen(raw)))))
        return DecodeNameBytes(QByteArray(raw),
                               encoding.isEmpty() && !utf8 ? QStringLiteral("IBM437") : encoding);
    return utf8 ? QString::fromUtf8(utf8) : QString();
}

namespace NameEncodings {

namespace {

struct Detection {
    qint64 size = -1;
    qint64 modified = 0;
    QString encoding;
};

struct Registry {
    std::atomic<quint64> serial{0};
    QMutex mutex;
    QHash<QString, QString> choices;
    QHash<QString, Detection> detections;
};

Registry& TheRegistry() {
    static Registry r;
    return r;
}

QString Key(const QString& path) {
    const QFileInfo info(path);
    const QString canonical = info.canonicalFilePath();
    return canonical.isEmpty() ? info.absoluteFilePath() : canonical;
}

Detection Stamp(const QString& path) {
    const QFileInfo info(path);
    Detection d;
    d.size = info.size();
    d.modified = info.lastModified().toMSecsSinceEpoch();
    return d;
}

bool Remembered(Registry& r, const QString& key, const Detection& now, QString* encoding) {
    const auto it = r.detections.constFind(key);
    if (it == r.detections.constEnd() || it->size != now.size || it->modified != now.modified)
        return false;
    *encoding = it->encoding;
    return true;
}

}  // namespace

void SetChoice(const QString& path, const QString& encoding) {
    Registry& r = TheRegistry();
    const QString key = Key(path);
    QMutexLocker lock(&r.mutex);
    if (encoding.isEmpty())
        r.choices.remove(key);
    else
        r.choices.insert(key, encoding);
    ++r.serial;
}

quint64 ChoiceSerial() {
    return TheRegistry().serial.load();
}

QString Choice(const QString& path) {
    Registry& r = TheRegistry();
    const QString key = Key(path);
    QMutexLocker lock(&r.mutex);
    return r.choices.value(key);
}

bool Known(const QString& path, QString* encoding) {
    Registry& r = TheRegistry();
    const QString key = Key(path);
    const Detection now = Stamp(path);
    QMutexLocker lock(&r.mutex);
    const auto choice = r.choices.constFind(key);
    if (choice != r.choices.constEnd()) {
        *encoding = choice.value();
        return true;
    }
    return Remembered(r, key, now, encoding);
}

QString Resolve(const QString& path, const QList<QByteArray>& names, const QString& written) {
    Registry& r = TheRegistry();
    const QString key = Key(path);
    Detection d = Stamp(path);
    QString detected;
    {
        QMutexLocker lock(&r.mutex);
        if (Remembered(r, key, d, &detected))
            return r.choices.value(key, detected);
    }
    d.encoding = written.isEmpty() || names.isEmpty() ? DetectNameEncoding(names) : written;
    QMutexLocker lock(&r.mutex);
    r.detections.insert(key, d);
    return r.choices.value(key, d.encoding);
}

QString Detected(const QString& path) {
    Registry& r = TheRegistry();
    const QString key = Key(path);
    const Detection now = Stamp(path);
    QMutexLocker lock(&r.mutex);
    QString encoding;
    Remembered(r, key, now, &encoding);
    return encoding;
}

}  // namespace NameEncodings

}  // namespace vz
