// Entry names in code pages: the code page is found from all names of an archive (or chosen
// by the user), and listing and unpacking read every name alike, decoded before it is split
// at "\".

#include <sys/stat.h>
#include <zlib.h>

#include <QTemporaryDir>
#include <QtTest>

#include "ArchiveWriters.h"
#include "FamilyFixtures.h"
#include "TestObserver.h"
#include "TestSupport.h"
#include "archive/ArchiveClassifier.h"
#include "archive/CArchiveUnpacker.h"
#include "archive/NameEncoding.h"
#include "platform/FileSystem.h"

Q_DECLARE_METATYPE(std::vector<vzt::ZipItem>)

namespace {

// Raw name bytes written with %XX escapes ("Gr%94%E1e.txt").
QByteArray B(const char* escaped) {
    return QByteArray::fromPercentEncoding(escaped);
}

// A name as a Windows tool writes it: in a code page, without the flag.
vzt::ZipItem Unflagged(const char* escaped) {
    vzt::ZipItem item{B(escaped), "x"};
    item.utf8Flag = false;
    item.madeBy = 0;
    return item;
}

// A Unicode path extra field naming the entry `text`, written for the name bytes `forName`.
QByteArray UnicodePath(const QString& text, const QByteArray& forName) {
    QByteArray field("\x75\x70", 2);
    const QByteArray utf8 = text.toUtf8();
    const quint32 crc = static_cast<quint32>(
        crc32(0, reinterpret_cast<const Bytef*>(forName.constData()), forName.size()));
    const quint16 size = static_cast<quint16>(5 + utf8.size());
    field += QByteArray(1, char(size & 0xFF)) + QByteArray(1, char(size >> 8)) + '\x01';
    for (int i = 0; i < 4; ++i)
        field += char((crc >> (8 * i)) & 0xFF);
    return field + utf8;
}

}  // namespace

class NamesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Each row: the entries, the user's choice (empty: detection), and the tree unpacked.
    void codePages_data() {
        QTest::addColumn<std::vector<vzt::ZipItem>>("items");
        QTest::addColumn<bool>("tar");
        QTest::addColumn<QString>("choice");
        QTest::addColumn<QStringList>("tree");
        using L = QStringList;
        QTest::newRow("CP437 German")
            << std::vector{Unflagged("Gr%94%E1e.txt"), Unflagged("%9Abersicht/B%84r.txt")} << false
            << "" << L{"Größe.txt", "Übersicht/", "Übersicht/Bär.txt"};
        QTest::newRow("CP850") << std::vector{Unflagged("S%C6o Paulo.txt"),
                                              Unflagged("%9Dnske.txt")}
                               << false << "" << L{"São Paulo.txt", "Ønske.txt"};
        const vzt::ZipItem report866 = Unflagged("%8E%E2%E7%F1%E2 %A7%A0 %AC%A0%A9.txt");
        const vzt::ZipItem plan866 = Unflagged("%84%AE%AA%E3%AC%A5%AD%E2%EB/%8F%AB%A0%AD.txt");
        QTest::newRow("CP866 Russian") << std::vector{report866, plan866} << false << ""
                                       << L{"Документы/", "Документы/План.txt", "Отчёт за май.txt"};
        QTest::newRow("CP866 in a tar")
            << std::vector{report866} << true << "" << L{"Отчёт за май.txt"};
        QTest::newRow("CP866 read as chosen")
            << std::vector{report866} << false << "IBM437" << L{"ÄΓτ±Γ ºá ¼á⌐.txt"};
        // "Сё.txt" in CP1251 is valid UTF-8 too: without the flag it is in the code page.
        QTest::newRow("CP1251, one name valid UTF-8")
            << std::vector{Unflagged("%CE%F2%F7%B8%F2 %E7%E0 %EC%E0%E9.txt"),
                           Unflagged("%D1%B8.txt")}
            << false << "" << L{"Отчёт за май.txt", "Сё.txt"};
        QTest::newRow("GBK") << std::vector{Unflagged("%D6%D0%CE%C4%CE%C4%B5%B5.txt"),
                                            Unflagged("%B1%A8%B8%E6/%CD%BC%C6%AC.png")}
                             << false << "" << L{"中文文档.txt", "报告/", "报告/图片.png"};
        QTest::newRow("Big5") << std::vector{Unflagged("%C1c%C5%E9%A4%A4%A4%E5.txt")} << false << ""
                              << L{"繁體中文.txt"};
        QTest::newRow("Shift-JIS, 0x5C trail bytes")
            << std::vector{Unflagged("%88%EA%97%97%95\\.txt"),
                           Unflagged("%8E%91%97%BF/%97\\%92%E8.txt")}
            << false << "" << L{"一覧表.txt", "資料/", "資料/予定.txt"};
        QTest::newRow("EUC-KR") << std::vector{Unflagged("%C7%D1%B1%B9%BE%EE %B9%AE%BC%AD.txt"),
                                               Unflagged("%BA%B8%B0%ED%BC%AD %C3%CA%BE%C8.txt"),
                                               Unflagged("%C8%B8%C0%C7%B7%CF.txt")}
                                << false << ""
                                << L{"보고서 초안.txt", "한국어 문서.txt", "회의록.txt"};
        QTest::newRow("ASCII") << std::vector{Unflagged("plain/a b.txt")} << false << ""
                               << L{"plain/", "plain/a b.txt"};
        vzt::ZipItem flagged{QString("Привет.txt").toUtf8(), "x"};
        QTest::newRow("flagged and unflagged")
            << std::vector{Unflagged("%8E%E2%E7%F1%E2.txt"), flagged} << false << ""
            << L{"Отчёт.txt", "Привет.txt"};
        vzt::ZipItem named = Unflagged("Gr%94%E1e.txt");
        named.extra = UnicodePath("Grösse (neu).txt", named.name);
        vzt::ZipItem stale = Unflagged("%8E%E2%E7%F1%E2.txt");
        stale.extra = UnicodePath("old.txt", "renamed since");
        QTest::newRow("Unicode path field, current and stale")
            << std::vector{named, stale} << false << "" << L{"Grösse (neu).txt", "Отчёт.txt"};
    }
    void codePages() {
        QFETCH(std::vector<vzt::ZipItem>, items);
        QFETCH(bool, tar);
        QFETCH(QString, choice);
        QFETCH(QStringList, tree);
        QTemporaryDir dir;
        const QString path = dir.filePath(tar ? "names.tar" : "names.zip");
        std::vector<vzt::TarItem> tarItems;
        for (const vzt::ZipItem& i : items)
            tarItems.push_back({i.name, i.data});
        QVERIFY(vzt::WriteAll(path, tar ? vzt::Tar(tarItems) : vzt::StoredZip(items)));
        vz::NameEncodings::SetChoice(path, choice);

        TestObserver observer;
        auto u = vz::CreateUnpacker(vz::ClassifyPath(path, vzt::AllExtensions()));
        QVERIFY(u && vz::OpenForFamily(*u, path));
        u->SetHandleDialogProgress(&observer);
        const std::vector<ARCHIVEFILEFULLINFO>* all = nullptr;
        QVERIFY(u->AllEntries(all));
        QStringList listed;
        for (const ARCHIVEFILEFULLINFO& e : *all)
            listed << e.path;
        QStringList files = tree.filter(QRegularExpression("[^/]$"));
        listed.sort();
        files.sort();
        QCOMPARE(listed, files);
        QVERIFY(u->UnpackArchive(dir.filePath("all")));
        QCOMPARE(vzt::ListTree(dir.filePath("all")), tree);
        // One file asked for by its listed name is found by the pass that unpacks it.
        QVERIFY2(u->UnpackFile(files.last(), dir.filePath("one")), qPrintable(u->LastError()));
        QVERIFY(QFile::exists(dir.filePath("one/" + files.last().section('/', -1))));
    }

    // Short names tell little: the locale decides between code pages that read them equally.
    void detection_data() {
        QTest::addColumn<QList<QByteArray>>("names");
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QString>("expected");
        QTest::newRow("ASCII") << QList<QByteArray>{"a.txt", "b/c.txt"} << "ru_RU"
                               << "";
        QTest::newRow("UTF-8 without the flag")
            << QList<QByteArray>{"a.txt", QString("Привет.txt").toUtf8()} << ""
            << "UTF-8";
        const QList<QByteArray> korean{B("%C7%D1%B1%B9%BE%EE.txt")};
        QTest::newRow("short Korean, Korean locale") << korean << "ko_KR.UTF-8"
                                                     << "windows-949";
        QTest::newRow("short Korean, Chinese locale") << korean << "zh_CN.UTF-8"
                                                      << "GBK";
    }
    void detection() {
        QFETCH(QList<QByteArray>, names);
        QFETCH(QString, locale);
        QFETCH(QString, expected);
        QCOMPARE(vz::DetectNameEncoding(names, locale), expected);
    }

    // A Unix tool stores a disk name's own bytes: they come back as they went in. The same
    // bytes written on Windows are in a code page.
    void writingSystem_data() {
        QTest::addColumn<int>("madeBy");
        QTest::addColumn<QByteArray>("onDisk");
        QTest::newRow("Unix") << 3 << B("caf%E9.txt");
        QTest::newRow("Windows") << 0 << QString("café.txt").toUtf8();
    }
    void writingSystem() {
        QFETCH(int, madeBy);
        QFETCH(QByteArray, onDisk);
        QTemporaryDir dir;
        const QString path = dir.filePath("disk.zip");
        vzt::ZipItem item = Unflagged("caf%E9.txt");
        item.madeBy = static_cast<quint8>(madeBy);
        QVERIFY(vzt::WriteAll(path, vzt::StoredZip({item})));
        auto u = vz::CreateUnpacker(vz::ClassifyPath(path, vzt::AllExtensions()));
        QVERIFY(u && vz::OpenForFamily(*u, path));
        const std::vector<ARCHIVEFILEFULLINFO>* all = nullptr;
        QVERIFY(u->AllEntries(all) && all->size() == 1);
        QCOMPARE(all->front().path, vz::platform::DecodePath(onDisk));
        QVERIFY(u->UnpackArchive(dir.filePath("out")));
        struct stat st {};
        QCOMPARE(lstat(QFile::encodeName(dir.filePath("out/")) + onDisk, &st), 0);
    }
};

QTEST_GUILESS_MAIN(NamesTest)
#include "tst_names.moc"
