// The finders' search engine over one tree: archives, entries inside them and files on disk.

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

#include "FamilyFixtures.h"
#include "TestSupport.h"
#include "search/Finder.h"

using namespace vz::search;

namespace {

// Records the hits and the skipped items; once `stopAt` hits are in it asks to stop.
struct Recorder : IFindObserver {
    QList<CFileInfo> hits;
    QStringList skipped;
    int stopAt = -1, processed = 0;
    void Processing(const QString&) override { ++processed; }
    void Found(const CFileInfo& r) override { hits << r; }
    bool StopRequested() override { return stopAt >= 0 && hits.size() >= stopAt; }
    void Skipped(const QString& path, const QString&) override { skipped << path; }
};

}  // namespace

class TestFinder : public QObject {
    Q_OBJECT
    QTemporaryDir m_dir;
    QString m_root;

    // Mode A, F, B (archives, files in archives, both) or D (files on disk).
    // `args`: archive mask, file mask, start, inner folder, "flat" for no sub-folders.
    std::unique_ptr<CFinder> Run(const QString& mode, const QStringList& args, Recorder& r) {
        const char* texts[] = {"Search of archives", "Search of files in archives",
                               "Search of archives and files in them"};
        FindOptions o;
        o.modeText = mode == "D" ? QString() : texts[QString("AFB").indexOf(mode)];
        o.archiveMask = args.value(0);
        o.fileMask = args.value(1);
        o.includeSubfolders = args.value(4) != "flat";
        o.innerFolder = !args.value(3).isEmpty();
        o.innerPrefix = args.value(3);
        o.recognisedExtensions = vzt::AllExtensions();  // ACE counts as an archive
        auto finder = std::make_unique<CFinder>(o, r);
        const QString path = args.value(2).isEmpty() ? m_root : m_root + '/' + args.value(2);
        mode == "D" ? finder->FindFiles(path) : finder->FindArchives(path);
        return finder;
    }

private slots:
    void initTestCase() {
        // Every file holds its own name, so an entry's size tells where it was read.
        const auto tree = [](const QString& root, const QStringList& paths) {
            QMap<QString, QByteArray> files;
            for (const QString& p : paths)
                files[p] = p.section('/', -1).toUtf8();
            return vzt::MakeTree(root, files);
        };
        const QString src = m_dir.filePath("src");
        QVERIFY(tree(src, {"a.txt", "docs/b.txt", "docs/deep/c.TXT", "docsX/d.txt"}));
        m_root = m_dir.filePath("root");
        QVERIFY(tree(m_root, {"readme.txt", "zip", "x.ace", "bad.zip", "sub/n.txt"}));
        for (const char* kind : {"zip-nodirs", "tar.gz"}) {
            QVERIFY(QDir().mkpath(m_dir.filePath(kind)));
            const auto made = vzt::MakeFamilyArchive(kind, src, m_dir.filePath(kind));
            QVERIFY2(made.error.isEmpty(), qPrintable(made.error));
            QVERIFY(
                QFile::rename(made.path, m_root + (*kind == 'z' ? "/data.Zip" : "/sub/t.tar.gz")));
        }
        QVERIFY(QFile::link("..", m_root + "/sub/loop"));  // the walk meets the root once
    }

    void masks_data() {
        QTest::addColumn<QString>("maskAndName");
        QTest::addColumn<bool>("matches");
        QTest::newRow("both upper-cased") << "*.TXT readme.txt" << true;
        QTest::newRow("empty mask") << " a" << false;
        QTest::newRow("empty name") << "* " << false;
        QTest::newRow("? is exactly one") << "a?c ac" << false;
        QTest::newRow("star backtracks twice") << "a*b*c abxbxbc" << true;
        QTest::newRow("the whole name") << "a*c abcb" << false;
        QTest::newRow("*.* needs a dot") << "*.* zip" << false;
    }
    void masks() {
        QFETCH(QString, maskAndName);
        QFETCH(bool, matches);
        QCOMPARE(MatchesMask(maskAndName.section(' ', 0, 0), maskAndName.section(' ', 1)), matches);
    }

    void search_data() {
        QTest::addColumn<QString>("mode");
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<QStringList>("expected");  // hits, then "!" and the skipped items
        const QStringList zip{"data.Zip/a.txt", "data.Zip/docs/b.txt", "data.Zip/docs/deep/c.TXT",
                              "data.Zip/docsX/d.txt"};
        QStringList tgz = zip;
        tgz.replaceInStrings("data.Zip/", "sub/t.tar.gz/t.tar/");
        const QStringList skips{"!bad.zip", "!x.ace"};
        QTest::newRow("archives: data.Zip and x.ace, not zip")
            << "A" << QStringList{"*"}
            << QStringList{"bad.zip", "data.Zip", "sub/t.tar.gz", "x.ace"};
        QTest::newRow("entries of every archive; ace and broken skipped; the loop once")
            << "F" << QStringList{"", "*.txt"} << zip + tgz + skips;
        QTest::newRow("archives and files: only the entries")
            << "B" << QStringList{"*.ZIP", "*"} << zip + QStringList{"!bad.zip"};
        QTest::newRow("a selected archive alone") << "F" << QStringList{"", "*", "data.Zip"} << zip;
        QTest::newRow("inner folder of a zip, whole components")
            << "F" << QStringList{"", "*", "data.Zip", "docs"} << zip.mid(1, 2);
        QTest::newRow("inner folder of a tar.gz as the browser shows it")
            << "F" << QStringList{"", "*", "sub/t.tar.gz", "t.tar/docs/"} << tgz.mid(1, 2);
        QTest::newRow("an item path inside an archive")
            << "F" << QStringList{"", "*", "data.Zip/docs/deep"} << zip.mid(2, 1);
        QTest::newRow("disk files; the loop once")
            << "D" << QStringList{"", "*.txt"} << QStringList{"readme.txt", "sub/n.txt"};
        QTest::newRow("disk files without sub-folders")
            << "D" << QStringList{"", "*.*", "", "", "flat"}
            << QStringList{"bad.zip", "data.Zip", "readme.txt", "x.ace"};
    }
    void search() {
        QFETCH(QString, mode);
        QFETCH(QStringList, args);
        QFETCH(QStringList, expected);
        Recorder r;
        const auto finder = Run(mode, args, r);
        QStringList found;
        for (int i = 0; i < r.hits.size(); ++i) {
            const CFileInfo& h = r.hits.at(i);
            QCOMPARE(h.number, quint32(i));
            QVERIFY(h.path.endsWith('/' + h.name) && h.modified.known && h.created.known);
            if (h.name.endsWith("txt", Qt::CaseInsensitive))
                QCOMPARE(h.size, quint64(h.name.size()));
            QCOMPARE(h.inArchive, mode == "F" || mode == "B");
            found << h.path.mid(m_root.size() + 1);
        }
        found.sort();
        for (const QString& s : r.skipped)
            found << '!' + s.mid(m_root.size() + 1);
        QCOMPARE(found, expected);
        QCOMPARE(finder->HitCount(), r.hits.size());
    }

    void stop_data() {
        QTest::addColumn<QString>("start");
        // Stop once so many hits are in; then the hits, and how many items were shown (-1: it
        // depends on the order of the folder).
        QTest::addColumn<QList<int>>("n");
        // The archive itself is shown, and no entry: its listing was stopped.
        QTest::newRow("Yes at once ends the listing") << "data.Zip" << QList<int>{0, 0, 1};
        QTest::newRow("Yes inside an archive") << "data.Zip" << QList<int>{2, 2, 4};
        QTest::newRow("Yes ends the whole walk") << "" << QList<int>{1, 1, -1};
    }
    void stop() {
        QFETCH(QString, start);
        QFETCH(QList<int>, n);
        Recorder r;
        r.stopAt = n[0];
        const auto finder = Run("F", {"", "*", start}, r);
        QCOMPARE(finder->HitCount(), n[1]);
        QVERIFY(finder->Interrupted());
        if (n[2] >= 0)
            QCOMPARE(r.processed, n[2]);
    }
};

QTEST_GUILESS_MAIN(TestFinder)
#include "tst_finder.moc"
