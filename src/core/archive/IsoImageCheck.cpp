#include "archive/IsoImageCheck.h"

#include <QFile>
#include <QIODevice>
#include <QSet>
#include <deque>
#include <vector>

#include "platform/FileSystem.h"

namespace vz {

namespace {

constexpr qint64 kSector = 2048;
constexpr int kFirstDescriptor = 16;
constexpr int kMaxDescriptors = 64;
constexpr qint64 kPiece = 32 * kSector;
// Far more than the directories of a full disc of small files.
constexpr qint64 kMaxDirectoryBytes = qint64(512) << 20;

quint32 Le32(const uchar* p) {
    return p[0] | (p[1] << 8) | (p[2] << 16) | (static_cast<quint32>(p[3]) << 24);
}

struct Area {
    quint32 block, offset, length;
};

// One directory tree: its extents, each read once, and the continuation chain of each of
// its records.
class TreeWalk {
public:
    TreeWalk(QIODevice& image, qint64* budget) : m_image(image), m_budget(budget) {}

    bool Walk(quint32 rootBlock, quint32 rootLength, QString* reason) {
        std::deque<Area> directories{{rootBlock, 0, rootLength}};
        m_seenDirectories.insert(rootBlock);
        bool first = true;
        while (!directories.empty()) {
            const Area dir = directories.front();
            directories.pop_front();
            if (dir.length > *m_budget)
                continue;
            *m_budget -= dir.length;
            // Read a piece of whole sectors at a time: a record never crosses a sector.
            for (qint64 piece = 0; piece < dir.length; piece += kPiece) {
                const QByteArray sectors =
                    Read(dir.block * kSector + piece, std::min<qint64>(kPiece, dir.length - piece));
                const auto* data = reinterpret_cast<const uchar*>(sectors.constData());
                for (qint64 at = 0; at < sectors.size();) {
                    const int length = data[at];
                    // A zero length (or one that would cross the sector) pads to the next.
                    if (length == 0 || at % kSector + length > kSector) {
                        at = (at / kSector + 1) * kSector;
                        continue;
                    }
                    if (length < 34 || at + length > sectors.size())
                        break;
                    const uchar* record = data + at;
                    const int nameLength = record[32];
                    const int suStart = 33 + nameLength + (nameLength % 2 == 0 ? 1 : 0);
                    const bool self = nameLength == 1 && record[33] == 0;
                    if (first && self)
                        ReadSkip(record + suStart, length - suStart);
                    first = false;
                    if (suStart + m_skip < length &&
                        !FollowChain(record + suStart + m_skip, length - suStart - m_skip, reason))
                        return false;
                    const bool parent = nameLength == 1 && record[33] == 1;
                    const quint32 block = Le32(record + 2);
                    if ((record[25] & 0x02) && !self && !parent &&
                        !m_seenDirectories.contains(block)) {
                        m_seenDirectories.insert(block);
                        directories.push_back({block, 0, Le32(record + 10)});
                    }
                    at += length;
                }
            }
        }
        return true;
    }

private:
    QByteArray Read(qint64 offset, qint64 length) {
        if (offset < 0 || offset >= m_image.size() || !m_image.seek(offset))
            return QByteArray();
        return m_image.read(std::min(length, m_image.size() - offset));
    }

    // The root's "SP" entry says how many bytes every other system use area starts with.
    void ReadSkip(const uchar* su, int size) {
        if (size >= 7 && su[0] == 'S' && su[1] == 'P' && su[4] == 0xBE && su[5] == 0xEF)
            m_skip = su[6];
    }

    // The entries of one record's system use area and of every continuation area they name.
    bool FollowChain(const uchar* su, int size, QString* reason) {
        std::vector<Area> pending;
        Collect(su, size, &pending);
        QSet<qint64> passed;
        while (!pending.empty()) {
            const Area a = pending.back();
            pending.pop_back();
            if (a.offset >= kSector || a.length > kSector - a.offset)
                continue;  // not an area of one block: libarchive refuses it itself
            const qint64 where = a.block * kSector + a.offset;
            if (passed.contains(where)) {
                *reason = QStringLiteral("its Rock Ridge continuation entries form a loop");
                return false;
            }
            if (passed.size() >= kMaxContinuations) {
                *reason = QStringLiteral("a Rock Ridge entry continues in more than %1 areas")
                              .arg(kMaxContinuations);
                return false;
            }
            passed.insert(where);
            const QByteArray area = Read(where, a.length);
            Collect(reinterpret_cast<const uchar*>(area.constData()), static_cast<int>(area.size()),
                    &pending);
        }
        return true;
    }

    static void Collect(const uchar* su, int size, std::vector<Area>* found) {
        for (int at = 0; at + 4 <= size;) {
            const int length = su[at + 2];
            if (length < 4 || at + length > size || (su[at] == 'S' && su[at + 1] == 'T'))
                return;
            if (su[at] == 'C' && su[at + 1] == 'E' && length >= 28)
                found->push_back({Le32(su + at + 4), Le32(su + at + 12), Le32(su + at + 20)});
            at += length;
        }
    }

    QIODevice& m_image;
    qint64* m_budget;  // directory bytes still to be read, over all trees
    QSet<quint32> m_seenDirectories;
    int m_skip = 0;
};

}  // namespace

bool CheckRockRidgeContinuations(QIODevice& image, QString* reason) {
    qint64 budget = std::min(image.size(), kMaxDirectoryBytes);
    for (int i = 0; i < kMaxDescriptors; ++i) {
        if (!image.seek((kFirstDescriptor + i) * kSector))
            return true;
        const QByteArray d = image.read(kSector);
        if (d.size() < 190 || d.mid(1, 5) != "CD001")
            return true;
        const auto* p = reinterpret_cast<const uchar*>(d.constData());
        if (p[0] == 255)  // the set's terminator
            return true;
        // A primary or supplementary (Joliet) descriptor: its root directory record.
        if ((p[0] == 1 || p[0] == 2) &&
            !TreeWalk(image, &budget).Walk(Le32(p + 156 + 2), Le32(p + 156 + 10), reason))
            return false;
    }
    return true;
}

bool CheckRockRidgeContinuations(const QString& path, QString* reason) {
    QFile f;
    return !platform::OpenForReading(f, path) || CheckRockRidgeContinuations(f, reason);
}

}  // namespace vz
