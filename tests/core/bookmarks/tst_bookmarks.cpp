// The bookmark store: the collections as folder trees of .vzb files.

#include <sys/stat.h>

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include "TestSupport.h"
#include "bookmarks/Bookmarks.h"

using namespace vz::bookmarks;
using Files = QMap<QString, QByteArray>;

namespace {

// "label=path" for the bookmarks and "label/" for the folders of a node, folders first,
// each sorted as the menus sort them, nested folders in brackets.
QString Describe(CBookmarks& node) {
    SortByLabel(node.subfolders);
    SortByLabel(node.bookmarks);
    QStringList parts;
    for (const auto& sub : node.subfolders) {
        parts << sub->label + QStringLiteral("/[") + Describe(*sub) + u']';
    }
    for (const auto& mark : node.bookmarks) {
        parts << mark->label + u'=' + mark->path;
    }
    return parts.join(u' ');
}

QByteArray Mark(const char* section, const QByteArray& body) {
    return QByteArray("[") + section + "]\n" + body;
}

}  // namespace

class TestBookmarks : public QObject {
    Q_OBJECT
private slots:
    void load_data() {
        QTest::addColumn<Files>("files");
        QTest::addColumn<QString>("shown");
        const QByteArray a = Mark("FileBookmark", "Type=1\nPath=/a\n");
        QTest::newRow("dotted folder label, case of the extension, other files skipped")
            << Files{{"Old.Sets/x.VZB", a}, {"Old.Sets/x.vzb.txt", a}, {"notes.txt", "x"}}
            << "Old/[x=/a]";
        QTest::newRow("order without regard to case; a dotted label keeps its dots")
            << Files{{"beta.vzb", a}, {"Alpha.vzb", a}, {"r.final.vzb", a}}
            << "Alpha=/a beta=/a r.final=/a";
        QTest::newRow("missing path, junk instead of INI, the other section")
            << Files{{"a.vzb", Mark("FileBookmark", "Type=1\n")},
                     {"b.vzb", QByteArray("\x00\xff[[=", 5)},
                     {"c.vzb", Mark("ArchiveBookmark", "Path=/c\n")}}
            << "a=Empty b=Empty c=Empty";
        QTest::newRow("empty and hidden folders")
            << Files{{"e/", {}}, {".config/k.vzb", a}} << ".config/[k=/a] e/[]";
    }
    void load() {
        QFETCH(Files, files);
        QFETCH(QString, shown);
        QTemporaryDir dir;
        QVERIFY(vzt::MakeTree(dir.path(), files));
        CBookmarks root;
        QVERIFY(root.Load(dir.path(), Kind::File));
        QCOMPARE(Describe(root), shown);
        QCOMPARE(HasContent(dir.path()), true);
    }

    // Ids run on from 2024 through both collections and start again at every Clear;
    // FindByCommandId walks folders first.
    void commandIds() {
        QTemporaryDir dir;
        const QByteArray a = Mark("ArchiveBookmark", "Path=/a\n");
        QVERIFY(vzt::MakeTree(dir.path(), {{"arc/s/deep.vzb", a}, {"file/one.vzb", a}}));
        CBookmarks archive, files;
        archive.Clear();
        archive.Load(dir.path() + QStringLiteral("/arc"), Kind::Archive);
        files.Clear();
        files.Load(dir.path() + QStringLiteral("/file"), Kind::File);
        QCOMPARE(archive.subfolders.at(0)->bookmarks.at(0)->commandId, kFirstCommandId);
        QCOMPARE(files.bookmarks.at(0)->commandId, kFirstCommandId);
        QCOMPARE(archive.FindByCommandId(kFirstCommandId)->label, QStringLiteral("deep"));
        QVERIFY(!archive.FindByCommandId(kFirstCommandId + 1));
        QVERIFY(!files.FindByCommandId(0)->IsBookmark());  // the root itself
    }

    // What is written reads back with the icon rules; a rewrite keeps keys we do not know.
    void writeAndRead_data() {
        QTest::addColumn<QString>("target");  // relative to the scratch folder, or absolute
        QTest::addColumn<bool>("folderImage");
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("icon");
        QTest::addColumn<int>("source");
        QTest::newRow("folder on disk") << "dir" << false << 1 << 0 << int(IconSource::RealPath);
        QTest::newRow("file on disk") << "f.zip" << true << 0 << 1 << int(IconSource::RealPath);
        QTest::newRow("folder in an archive")
            << "f.zip/in" << true << 2 << 2 << int(IconSource::FolderImage);
        QTest::newRow("file in an archive")
            << "f.zip/in/x.txt" << false << 2 << 3 << int(IconSource::ExtensionOnly);
    }
    void writeAndRead() {
        QFETCH(QString, target);
        QFETCH(bool, folderImage);
        QFETCH(int, type);
        QFETCH(int, icon);
        QFETCH(int, source);
        QTemporaryDir dir;
        QVERIFY(vzt::MakeTree(dir.path(), {{"dir/", {}}, {"f.zip", "PK"}}));
        const QString file = BookmarkFilePath(dir.path(), QStringLiteral("b"));
        QVERIFY(vzt::WriteAll(file, "; mine\n[ArchiveBookmark]\nColour=red\nPath=/old\n"));
        const QString path = dir.path() + u'/' + target;
        QVERIFY(WriteArchiveBookmark(file, path, folderImage));
        const BookmarkFile read = ReadBookmark(file, Kind::Archive);
        QCOMPARE(read.path, path);
        QCOMPARE(read.type, type);
        QCOMPARE(read.icon, icon);
        QCOMPARE(int(IconSourceOf(Kind::Archive, read.icon)), source);
        QVERIFY(vzt::ReadAll(file).contains("Colour=red"));
        QCOMPARE(ListFolder(dir.path(), Kind::Archive).last().icon, icon);

        QVERIFY(WriteFileBookmark(file, path));
        QCOMPARE(ReadBookmark(file, Kind::File).type, type == 1 ? 1 : 0);
    }

    void missingIconGoesByExtension() {
        QTemporaryDir dir;
        const QString file = dir.path() + QStringLiteral("/x.vzb");
        QVERIFY(vzt::WriteAll(file, Mark("ArchiveBookmark", "Type=0\nPath=/etc/passwd\n")));
        QCOMPARE(IconSourceOf(Kind::Archive, ReadBookmark(file, Kind::Archive).icon),
                 IconSource::ExtensionOnly);
    }

    // A bookmark that cannot be written (its folder is a file) says why.
    void writeFailure() {
        QTemporaryDir dir;
        QVERIFY(vzt::WriteAll(dir.path() + QStringLiteral("/f"), "x"));
        QString reason;
        QVERIFY(!WriteFileBookmark(dir.path() + QStringLiteral("/f/a.vzb"), QStringLiteral("/"),
                                   &reason));
        QVERIFY(!reason.isEmpty());
    }

    void labels_data() {
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("label");
        QTest::newRow("last dot") << "/data/report.final.zip"
                                  << "report.final";
        QTest::newRow("inside an archive") << "/d/a.zip/docs/read me.txt"
                                           << "read me";
        QTest::newRow("folder with a slash at the end") << "/home/u/Old.Sets/"
                                                        << "Old";
        QTest::newRow("hidden name") << "/home/u/.config"
                                     << ".config";
        QTest::newRow("no extension") << "Makefile"
                                      << "Makefile";
    }
    void labels() {
        QFETCH(QString, target);
        QFETCH(QString, label);
        QCOMPARE(DefaultLabel(target), label);
    }

    // Roots are made with their parents; a file in the way, or an empty root, gives none.
    void rootsAndContent() {
        QTemporaryDir dir;
        const Roots roots = ComputeRoots(dir.path());
        QVERIFY(QFileInfo(roots.archive).isDir() && QFileInfo(roots.file).isDir());
        QVERIFY(roots.archive.endsWith(QStringLiteral("/Bookmarks/Archive Bookmarks")));
        QVERIFY(!HasContent(roots.archive));
        QVERIFY(vzt::WriteAll(roots.archive + QStringLiteral("/stray.txt"), "x"));
        QVERIFY(HasContent(roots.archive));
        QVERIFY(CreateFolderChain(roots.archive));
        QVERIFY(!CreateFolderChain(roots.archive + QStringLiteral("/stray.txt/sub")));
        QVERIFY(!CreateFolderChain(QString()));
        QVERIFY(ComputeRoots(QString()).archive.isEmpty());
        QVERIFY(!HasContent(QString()));
    }

    // A link to a folder above is neither followed nor listed; a pipe is not read.
    void linkLoopIsNotFollowed() {
        QTemporaryDir dir;
        QVERIFY(vzt::MakeTree(dir.path(), {{"a/k.vzb", Mark("FileBookmark", "Path=/k\n")}}));
        QVERIFY(QFile::link(dir.path(), dir.path() + QStringLiteral("/a/loop")));
        QCOMPARE(mkfifo(QFile::encodeName(dir.path() + QStringLiteral("/a/pipe.vzb")), 0600), 0);
        CBookmarks root;
        root.Load(dir.path(), Kind::File);
        QCOMPARE(Describe(root), QStringLiteral("a/[k=/k pipe=Empty]"));
        QCOMPARE(ListFolder(dir.path() + QStringLiteral("/a"), Kind::File).size(), 2);
    }
};

QTEST_GUILESS_MAIN(TestBookmarks)
#include "tst_bookmarks.moc"
