// The values that the properties dialogs cut out of description texts, and the naming of new
// folders inside archives. (The rename and delete wordings are tested where the Archive
// Browser shows them.)

#include <QSet>
#include <QtTest>

#include "archive/ArchiveEditing.h"
#include "archive/DescriptionFields.h"
#include "archive/EntryList.h"

namespace ae = vz::archiveedit;

class ArchiveEditingTextsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void fileFields_data() {
        QTest::addColumn<QString>("description");
        QTest::addColumn<QStringList>("expected");  // size, packed, ratio, modified, crc, method

        QTest::newRow("every field")
            << "Size - 1 234 bytes, Packed - 617 bytes, Ratio - 50%, Modified - 01/02/24 "
               "10:00:00, CRC - 0A1B2C3D, Compression method - Deflate"
            << QStringList{"1 234 bytes",       "617 bytes", "50%",
                           "01/02/24 10:00:00", "0A1B2C3D",  "Deflate"};
        QTest::newRow("no CRC in the format: the value is empty")
            << "Size - 10 bytes, Modified - 01/02/24 10:00:00, Compression method - Stored"
            << QStringList{"10 bytes", "", "", "01/02/24 10:00:00", "", "Stored"};
        QTest::newRow("a comma inside a value cuts it")
            << "Size - 5 bytes, Modified - Tue, 2 Jan 2024, CRC - 00000001, Compression method - "
               "Deflate"
            << QStringList{"5 bytes", "", "", "Tue", "00000001", "Deflate"};
        QTest::newRow("the last field keeps its commas")
            << "Size - 5 bytes, Compression method - Deflate, AES-256"
            << QStringList{"5 bytes", "", "", "", "", "Deflate, AES-256"};
        QTest::newRow("a label without a value") << "Size" << QStringList{"", "", "", "", "", ""};
        QTest::newRow("empty") << "" << QStringList{"", "", "", "", "", ""};
    }
    void fileFields() {
        QFETCH(QString, description);
        QFETCH(QStringList, expected);
        const vz::FileDescriptionFields f = vz::CutFileDescription(description);
        QCOMPARE((QStringList{f.size, f.packed, f.ratio, f.modified, f.crc, f.method}), expected);
    }

    void folderFields_data() {
        QTest::addColumn<QString>("description");
        QTest::addColumn<QStringList>("expected");  // size, packed, ratio, files, folders

        QTest::newRow("folder")
            << "Size - 2 048 bytes, Packed - 1 024 bytes, Files - 3, Folders - 1 000, Ratio - 50%"
            << QStringList{"2 048 bytes", "1 024 bytes", "50%", "3", "1 000"};
        QTest::newRow("archive")
            << "Type - ZIP, Size - 7 bytes, Packed - 200 bytes, Files - 1, Folders - 0, Ratio - "
               "2857%"
            << QStringList{"7 bytes", "200 bytes", "2857%", "1", "0"};
        QTest::newRow("no sizes, no ratio (empty files)")
            << "Files - 2, Folders - 0" << QStringList{"", "", "", "2", "0"};
        QTest::newRow("the ratio runs to the end")
            << "Files - 1, Folders - 0, Ratio - 1,5%" << QStringList{"", "", "1,5%", "1", "0"};
    }
    void folderFields() {
        QFETCH(QString, description);
        QFETCH(QStringList, expected);
        const vz::FolderDescriptionFields f = vz::CutFolderDescription(description);
        QCOMPARE((QStringList{f.size, f.packed, f.ratio, f.files, f.folders}), expected);
    }

    // The description that the Archive Browser writes reads back into the same values.
    void describedFileReadsBack() {
        ARCHIVEFILEFULLINFO info;
        info.size = 1234567;
        info.sizeKnown = true;
        info.packedSize = 1000;
        info.packedSizeKnown = true;
        info.crc = 0xBEEF;
        info.crcKnown = true;
        info.method = QStringLiteral("Deflate");
        info.encrypted = true;
        info.encryption = QStringLiteral("AES-256");
        const vz::FileDescriptionFields f = vz::CutFileDescription(vz::DescribeFile(info));
        QCOMPARE(f.size, QStringLiteral("1 234 567 bytes"));
        QCOMPARE(f.packed, QStringLiteral("1 000 bytes"));
        QCOMPARE(f.ratio, QStringLiteral("0%"));
        QCOMPARE(f.modified, QString());
        QCOMPARE(f.crc, QStringLiteral("0000BEEF"));
        QCOMPARE(f.method, QStringLiteral("Deflate, AES-256"));
    }

    void newFolderNames_data() {
        QTest::addColumn<QString>("parent");
        QTest::addColumn<QStringList>("existing");
        QTest::addColumn<QString>("expected");

        QTest::newRow("free") << "" << QStringList{} << "New Folder";
        QTest::newRow("second") << "" << QStringList{"New Folder"} << "New Folder 1";
        QTest::newRow("third, in a folder")
            << "d" << QStringList{"d/New Folder", "d/New Folder 1"} << "d/New Folder 2";
        QTest::newRow("a gap is filled")
            << "" << QStringList{"New Folder", "New Folder 2"} << "New Folder 1";
    }
    void newFolderNames() {
        QFETCH(QString, parent);
        QFETCH(QStringList, existing);
        QFETCH(QString, expected);
        const QSet<QString> taken(existing.begin(), existing.end());
        QCOMPARE(ae::NewFolderPath(parent, [&](const QString& p) { return taken.contains(p); }),
                 expected);
    }
};

QTEST_GUILESS_MAIN(ArchiveEditingTextsTest)
#include "tst_archiveediting_texts.moc"
