// Values cut out of description texts for the properties dialogs; new folder names in archives.

#include <QSet>
#include <QtTest>

#include "archive/ArchiveEditing.h"
#include "archive/DescriptionFields.h"
#include "archive/EntryList.h"

class ArchiveEditingTextsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // File values: size, packed, ratio, modified, crc, method; folder values: size, packed,
    // ratio, files, folders.
    void fields_data() {
        QTest::addColumn<bool>("folder");
        QTest::addColumn<QString>("description");
        QTest::addColumn<QStringList>("expected");

        QTest::newRow("a comma inside a value cuts it; a missing field is empty")
            << false << "Size - 5 bytes, Modified - Tue, 2 Jan 2024, CRC - 00000001"
            << QStringList{"5 bytes", "", "", "Tue", "00000001", ""};
        QTest::newRow("the last field keeps its commas")
            << false << "Size - 5 bytes, Compression method - Deflate, AES-256"
            << QStringList{"5 bytes", "", "", "", "", "Deflate, AES-256"};
        QTest::newRow("a label without a value") << false << "Size" << QStringList(6, QString());
        QTest::newRow("folder: the ratio runs to the end")
            << true << "Files - 1, Folders - 1 000, Ratio - 1,5%"
            << QStringList{"", "", "1,5%", "1", "1 000"};
    }
    void fields() {
        QFETCH(bool, folder);
        QFETCH(QString, description);
        QFETCH(QStringList, expected);
        const auto d = vz::CutFolderDescription(description);
        const auto f = vz::CutFileDescription(description);
        const QStringList got =
            folder ? QStringList{d.size, d.packed, d.ratio, d.files, d.folders}
                   : QStringList{f.size, f.packed, f.ratio, f.modified, f.crc, f.method};
        QCOMPARE(got, expected);
    }

    // The description that the Archive Browser writes reads back into the same values.
    void describedFileReadsBack() {
        ARCHIVEFILEFULLINFO info;
        info.size = 1234567;
        info.sizeKnown = info.packedSizeKnown = info.crcKnown = info.encrypted = true;
        info.packedSize = 1000;
        info.crc = 0xBEEF;
        info.method = QStringLiteral("Deflate");
        info.encryption = QStringLiteral("AES-256");
        const vz::FileDescriptionFields f = vz::CutFileDescription(vz::DescribeFile(info));
        QCOMPARE((QStringList{f.size, f.packed, f.ratio, f.modified, f.crc, f.method}),
                 (QStringList{"1 234 567 bytes", "1 000 bytes", "0%", "", "0000BEEF",
                              "Deflate, AES-256"}));
    }

    // A gap in the numbering is filled, inside the parent folder.
    void newFolderFillsGap() {
        const QSet<QString> taken{"d/New Folder", "d/New Folder 2"};
        QCOMPARE(vz::archiveedit::NewFolderPath(
                     "d", [&](const QString& p) { return taken.contains(p); }),
                 QStringLiteral("d/New Folder 1"));
    }
};

QTEST_GUILESS_MAIN(ArchiveEditingTextsTest)
#include "tst_archiveediting_texts.moc"
