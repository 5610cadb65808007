// The finders' search engine over one tree: archives, entries inside them and files on disk.

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include "FamilyFixtures.h"
#include "TestSupport.h"
#include "search/Finder.h"

using namespace vz::search;

namespace {

const char kArchives[] = "Search of archives";
const char kFiles[] = "Search of files in archives";
const char kBoth[] = "Search of archives and files in them";

// Collects what the engine reports; asks to stop once `stopAt` hits are in (when `yes`).
struct Recorder : IFindObserver {
    QList<CFileInfo> hits;
    QStringList skipped;
    int stopAt = -1;
    bool yes = true;
    int processed = 0;
    void Processing(const QString&) override { ++processed; }
    void Found(const CFileInfo& r) override { hits << r; }
    bool StopRequested() override { return stopAt >= 0 && hits.size() >= stopAt && yes; }
    void Skipped(const QString& path, const QString&) override { skipped << path; }
};

}  // namespace

class TestFinder : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;
    QString m_root;

    QString Relative(const QString& path) const { return path.mid(m_root.size() + 1); }

private slots:
    void initTestCase() {
        // Every file holds its own name, so an entry's size tells where it was read.
        const QString src = m_dir.filePath("src");
        QVERIFY(vzt::MakeTree(src, {{"a.txt", "a.txt"},
                                    {"docs/b.txt", "b.txt"},
                                    {"docs/deep/c.TXT", "c.TXT"},
                                    {"docsX/d.txt", "d.txt"}}));
        m_root = m_dir.filePath("root");
        QVERIFY(vzt::MakeTree(m_root, {{"readme.txt", "readme.txt"},
                                       {"zip", "zip"},
                                       {"x.ace", "not an ace archive"},
                                       {"bad.zip", "not a zip"},
                                       {"sub/n.txt", "n.txt"}}));
        const struct {
            const char* kind;
            const char* name;
        } archives[] = {{"zip-nodirs", "data.Zip"}, {"tar.gz", "sub/t.tar.gz"}};
        for (const auto& a : archives) {
            const QString out = m_dir.filePath(a.kind);
            QVERIFY(QDir().mkpath(out));
            const vzt::FamilyArchive made = vzt::MakeFamilyArchive(a.kind, src, out);
            QVERIFY2(made.error.isEmpty(), qPrintable(made.error));
            QVERIFY(QFile::rename(made.path, m_root + '/' + a.name));
        }
        // A loop: the walk must meet the root's files once.
        QVERIFY(QFile::link("..", m_root + "/sub/loop"));
    }

    void masks_data() {
        QTest::addColumn<QString>("mask");
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("matches");
        QTest::newRow("both upper-cased") << "*.TXT"
                                          << "readme.txt" << true;
        QTest::newRow("empty mask") << ""
                                    << "a" << false;
        QTest::newRow("empty name") << "*"
                                    << "" << false;
        QTest::newRow("? is one character") << "a?c"
                                            << "ac" << false;
        QTest::newRow("? at the end") << "ab?"
                                      << "abc" << true;
        QTest::newRow("star backtracks") << "*ab"
                                         << "aab" << true;
        QTest::newRow("star backtracks twice") << "a*b*c"
                                               << "abxbxbc" << true;
        QTest::newRow("whole name, not a prefix") << "a*c"
                                                  << "abcb" << false;
        QTest::newRow("*.* needs a dot") << "*.*"
                                         << "zip" << false;
        QTest::newRow("stars match none") << "**a**"
                                          << "a" << true;
        QTest::newRow("literal after star missing") << "*.zip"
                                                    << "zip" << false;
    }
    void masks() {
        QFETCH(QString, mask);
        QFETCH(QString, name);
        QFETCH(bool, matches);
        QCOMPARE(MatchesMask(mask, name), matches);
    }

    void formatCodes_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("code");
        QTest::newRow("case of the extension") << "data.Zip" << 1;
        QTest::newRow("gzip of a tar") << "sub/t.tar.gz" << 8;
        QTest::newRow("no dot") << "zip" << 0;
        QTest::newRow("cut at the last separator") << "data.Zip/docs/b.txt" << 1;
        QTest::newRow("ace") << "x.ace" << 5;
    }
    void formatCodes() {
        QFETCH(QString, path);
        QFETCH(int, code);
        QCOMPARE(FormatCode(m_root + '/' + path, vzt::AllExtensions()), code);
    }

    void search_data() {
        QTest::addColumn<QString>("mode");
        QTest::addColumn<QString>("archiveMask");
        QTest::addColumn<QString>("fileMask");
        QTest::addColumn<QString>("start");
        QTest::addColumn<bool>("subfolders");
        QTest::addColumn<QString>("prefix");
        QTest::addColumn<QStringList>("expected");
        QTest::addColumn<QStringList>("skipped");
        const QStringList zipTxt{"data.Zip/a.txt", "data.Zip/docs/b.txt",
                                 "data.Zip/docs/deep/c.TXT", "data.Zip/docsX/d.txt"};
        const QStringList tgzTxt{"sub/t.tar.gz/t.tar/a.txt", "sub/t.tar.gz/t.tar/docs/b.txt",
                                 "sub/t.tar.gz/t.tar/docs/deep/c.TXT",
                                 "sub/t.tar.gz/t.tar/docsX/d.txt"};
        QTest::newRow("archives by name: data.Zip yes, zip no, x.ace yes")
            << kArchives << "*"
            << ""
            << "" << true << "" << QStringList{"bad.zip", "data.Zip", "sub/t.tar.gz", "x.ace"}
            << QStringList{};
        QTest::newRow("entries of every archive, ace and broken ones skipped, loop once")
            << kFiles << ""
            << "*.txt"
            << "" << true << "" << zipTxt + tgzTxt << QStringList{"bad.zip", "x.ace"};
        QTest::newRow("archives and files lists only the entries")
            << kBoth << "*.ZIP"
            << "*"
            << "" << true << "" << zipTxt << QStringList{"bad.zip"};
        QTest::newRow("sub-folders off")
            << kFiles << ""
            << "?.txt"
            << "" << false << "" << zipTxt << QStringList{"bad.zip", "x.ace"};
        QTest::newRow("a selected archive alone")
            << kFiles << ""
            << "*"
            << "data.Zip" << true << "" << zipTxt << QStringList{};
        QTest::newRow("inner folder of a zip, whole components")
            << kFiles << ""
            << "*"
            << "data.Zip" << true << "docs"
            << QStringList{"data.Zip/docs/b.txt", "data.Zip/docs/deep/c.TXT"} << QStringList{};
        QTest::newRow("inner folder of a tar.gz as the browser shows it")
            << kFiles << ""
            << "*"
            << "sub/t.tar.gz" << true << "t.tar/docs/"
            << QStringList{"sub/t.tar.gz/t.tar/docs/b.txt", "sub/t.tar.gz/t.tar/docs/deep/c.TXT"}
            << QStringList{};
        QTest::newRow("an item path inside an archive")
            << kFiles << ""
            << "*"
            << "data.Zip/docs/deep" << true << "" << QStringList{"data.Zip/docs/deep/c.TXT"}
            << QStringList{};
        QTest::newRow("files on disk, loop once")
            << ""
            << ""
            << "*.txt"
            << "" << true << "" << QStringList{"readme.txt", "sub/n.txt"} << QStringList{};
        QTest::newRow("files on disk without sub-folders")
            << ""
            << ""
            << "*.*"
            << "" << false << "" << QStringList{"bad.zip", "data.Zip", "readme.txt", "x.ace"}
            << QStringList{};
    }
    void search() {
        QFETCH(QString, mode);
        QFETCH(QString, start);
        QFETCH(QString, prefix);
        QFETCH(QString, archiveMask);
        QFETCH(QString, fileMask);
        QFETCH(bool, subfolders);
        QFETCH(QStringList, expected);
        QFETCH(QStringList, skipped);
        FindOptions o;
        o.modeText = mode;
        o.archiveMask = archiveMask;
        o.fileMask = fileMask;
        o.includeSubfolders = subfolders;
        o.searchInsideArchive = !start.isEmpty();
        o.innerFolder = !prefix.isEmpty();
        o.innerPrefix = prefix;
        o.recognisedExtensions = vzt::AllExtensions();
        Recorder r;
        CFinder finder(o, r);
        const QString path = start.isEmpty() ? m_root : m_root + '/' + start;
        mode.isEmpty() ? finder.FindFiles(path) : finder.FindArchives(path);
        QStringList found;
        for (int i = 0; i < r.hits.size(); ++i) {
            const CFileInfo& h = r.hits.at(i);
            QCOMPARE(h.number, quint32(i));
            QVERIFY(h.path.endsWith('/' + h.name));
            QVERIFY(h.modified.known && h.created.known);
            if (h.name.endsWith("txt", Qt::CaseInsensitive))
                QCOMPARE(h.size, quint64(h.name.size()));
            QCOMPARE(h.inArchive, !mode.isEmpty() && mode != kArchives);
            found << Relative(h.path);
        }
        found.sort();
        QCOMPARE(found, expected);
        QCOMPARE(finder.HitCount(), r.hits.size());
        QStringList skips;
        for (const QString& s : r.skipped)
            skips << Relative(s);
        skips.sort();
        QCOMPARE(skips, skipped);
    }

    void stop_data() {
        QTest::addColumn<QString>("start");
        QTest::addColumn<int>("stopAt");
        QTest::addColumn<bool>("yes");
        QTest::addColumn<int>("hits");
        QTest::addColumn<int>("processed");  // -1: depends on the order of the folder
        // The archive itself is shown, and no entry: its listing was stopped.
        QTest::newRow("Yes at once ends the listing") << "data.Zip" << 0 << true << 0 << 1;
        QTest::newRow("Yes inside an archive") << "data.Zip" << 2 << true << 2 << 4;
        QTest::newRow("Yes ends the whole walk") << "" << 1 << true << 1 << -1;
        QTest::newRow("No goes on where it was") << "" << 1 << false << 8 << -1;
    }
    void stop() {
        QFETCH(QString, start);
        QFETCH(int, stopAt);
        QFETCH(bool, yes);
        QFETCH(int, hits);
        QFETCH(int, processed);
        FindOptions o;
        o.modeText = kFiles;
        o.fileMask = "*";
        o.recognisedExtensions = vzt::AllExtensions();
        Recorder r;
        r.stopAt = stopAt;
        r.yes = yes;
        CFinder finder(o, r);
        finder.FindArchives(start.isEmpty() ? m_root : m_root + '/' + start);
        QCOMPARE(finder.HitCount(), hits);
        QCOMPARE(finder.Interrupted(), r.yes);
        if (processed >= 0)
            QCOMPARE(r.processed, processed);
    }
};

QTEST_GUILESS_MAIN(TestFinder)
#include "tst_finder.moc"
