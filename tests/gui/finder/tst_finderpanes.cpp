// The finders' window side: the option dialogs' enabling, the result list's cell texts,
// sorting, column widths and deletion, and one search through the main frame with Stop.

#include <QCheckBox>
#include <QComboBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include "JobWait.h"
#include "TestSupport.h"
#include "app/CMainFrame.h"
#include "archivebrowser/CVelaArchiveTree.h"
#include "common/CJob.h"
#include "common/CommandIds.h"
#include "common/MessageBox.h"
#include "common/ModalDialog.h"
#include "finder/CFinderPane.h"
#include "finder/CVelaListFiles.h"
#include "finder/FindDialogs.h"
#include "settings/CLayoutProfile.h"

using vz::search::CFileInfo;

namespace {

CFileInfo Record(quint32 number, const QString& path, quint64 size, qint64 modified) {
    CFileInfo record;
    record.number = number;
    record.path = path;
    record.name = path.mid(path.lastIndexOf('/') + 1);
    record.size = size;
    record.modified = vz::FileTime::FromUnix(modified);
    return record;
}

QList<quint32> Numbers(const CFinderListModel& model) {
    QList<quint32> numbers;
    for (int row = 0; row < model.rowCount(); ++row)
        numbers << model.Record(row).number;
    return numbers;
}

}  // namespace

class TestFinderPanes : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    QStringList m_boxes;

private slots:
    void initTestCase() {
        QVERIFY(m_dir.isValid());
        vzt::IsolateConfig(m_dir.filePath(QStringLiteral("config")));
        vz::SetMessageBoxHook([this](const vz::MessageBoxRequest& request) {
            m_boxes << request.text;
            return QMessageBox::Ok;
        });
    }

    void archivesDialog_data() {
        QTest::addColumn<bool>("inside");
        QTest::addColumn<int>("mode");
        QTest::addColumn<QString>("archiveMask");
        QTest::addColumn<QString>("fileMask");
        QTest::addColumn<QString>("enabled");  // archive mask, sub-folders, file mask, Find
        QTest::newRow("opening") << false << 0 << ""
                                 << ""
                                 << "1100";
        QTest::newRow("blank archive mask") << false << 0 << "  "
                                            << ""
                                            << "1100";
        QTest::newRow("archives") << false << 0 << "*.zip"
                                  << ""
                                  << "1101";
        QTest::newRow("files need a file mask") << false << 1 << "*.zip"
                                                << ""
                                                << "0010";
        QTest::newRow("files") << false << 1 << ""
                               << "*.txt"
                               << "0011";
        QTest::newRow("both need both") << false << 2 << "*.zip"
                                        << ""
                                        << "1110";
        QTest::newRow("both") << false << 2 << " *.zip "
                              << " *.txt "
                              << "1111";
        QTest::newRow("inside an archive") << true << 0 << ""
                                           << ""
                                           << "0010";
        QTest::newRow("inside, file mask") << true << 0 << ""
                                           << " a* "
                                           << "0011";
    }
    void archivesDialog() {
        QFETCH(bool, inside);
        QFETCH(int, mode);
        QFETCH(QString, archiveMask);
        QFETCH(QString, fileMask);
        QFETCH(QString, enabled);
        CFindArchives dialog(inside);
        QCOMPARE(dialog.ModeBox()->count(), inside ? 1 : 3);
        dialog.ModeBox()->setCurrentIndex(mode);
        dialog.ArchiveMaskEdit()->setText(archiveMask);
        dialog.FileMaskEdit()->setText(fileMask);
        const QString shown = QString::number(dialog.ArchiveMaskEdit()->isEnabled()) +
                              QString::number(dialog.SubfoldersBox()->isEnabled()) +
                              QString::number(dialog.FileMaskEdit()->isEnabled()) +
                              QString::number(dialog.FindButton()->isEnabled());
        QCOMPARE(shown, enabled);
        if (dialog.FindButton()->isEnabled()) {
            dialog.FindButton()->click();
            QCOMPARE(dialog.result(), int(QDialog::Accepted));
            QCOMPARE(dialog.ModeText(), dialog.ModeBox()->currentText());
            QCOMPARE(dialog.ArchiveMask(), archiveMask.trimmed());
            QCOMPARE(dialog.FileMask(), fileMask.trimmed());
        }
        // The files dialog follows its one mask alike.
        CFindFiles files;
        files.FileMaskEdit()->setText(fileMask);
        QCOMPARE(files.FindButton()->isEnabled(), !fileMask.trimmed().isEmpty());
    }

    void cellTexts_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<quint64>("size");
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("sizeText");
        QTest::newRow("grouped") << "/home/u/a.bin" << quint64(1234567) << "/home/u"
                                 << "1 234 567 bytes";
        QTest::newRow("at the root") << "/a.txt" << quint64(999) << "/"
                                     << "999 bytes";
        QTest::newRow("in an archive") << "/d/a.zip/docs/r.txt" << quint64(1000) << "/d/a.zip/docs"
                                       << "1 000 bytes";
    }
    void cellTexts() {
        QFETCH(QString, path);
        QFETCH(quint64, size);
        CFinderListModel model;
        model.Append({Record(0, path, size, 0)});
        QTEST(model.index(0, CFinderListModel::kFolder).data().toString(), "folder");
        QTEST(model.index(0, CFinderListModel::kSize).data().toString(), "sizeText");
    }

    void hiddenColumnSavedAsZero() {
        const QString section = QStringLiteral("ArchiveFinder_Columns");
        {
            CVelaListFiles list(section);
            QCOMPARE(list.ColumnWidths(), (QList<int>{160, 220, 100, 140}));
            list.setColumnWidth(CFinderListModel::kSize, 130);
            list.ToggleColumn(CFinderListModel::kSize);
            list.SaveColumnWidths();
        }
        QCOMPARE(CLayoutProfile::ColumnWidths(section), (QList<int>{160, 220, 0, 140}));
        CVelaListFiles list(section);
        QVERIFY(!list.IsColumnShown(CFinderListModel::kSize));
        list.ToggleColumn(CFinderListModel::kSize);
        QCOMPARE(list.columnWidth(CFinderListModel::kSize), 100);
    }

    void sorting_data() {
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<QList<int>>("columns");  // Sort by items in turn; -1: "Sort Ascending"
        QTest::addColumn<QList<quint32>>("order");
        QTest::addColumn<bool>("arrow");
        QTest::newRow("disabled") << false << QList<int>{2} << QList<quint32>{0, 1, 2, 3} << false;
        QTest::newRow("ascending, no column")
            << true << QList<int>{-1} << QList<quint32>{0, 1, 2, 3} << false;
        QTest::newRow("size, unsigned")
            << true << QList<int>{2} << QList<quint32>{2, 0, 3, 1} << true;
        QTest::newRow("size twice descends")
            << true << QList<int>{2, 2} << QList<quint32>{1, 3, 0, 2} << true;
        QTest::newRow("name ignoring case")
            << true << QList<int>{0} << QList<quint32>{1, 3, 0, 2} << true;
        QTest::newRow("folder, equal keys stay")
            << true << QList<int>{1} << QList<quint32>{2, 0, 1, 3} << true;
        QTest::newRow("date") << true << QList<int>{3} << QList<quint32>{3, 2, 1, 0} << true;
    }
    void sorting() {
        QFETCH(bool, enabled);
        QFETCH(QList<int>, columns);
        CVelaListFiles list(QStringLiteral("FileFinder_Columns"));
        list.ListModel()->Append({Record(0, "/b/c.txt", 10, 400), Record(1, "/b/A.txt", ~0ull, 300),
                                  Record(2, "/a/d.txt", 0, 200), Record(3, "/b/b.TXT", 11, -5)});
        list.SetSortingEnabled(enabled);
        for (const int column : columns) {
            if (column < 0)
                list.SortBy(list.SortColumn(), true);
            else
                list.SortByColumnToggling(column);
        }
        QTEST(Numbers(*list.ListModel()), "order");
        QTEST(list.header()->isSortIndicatorShown(), "arrow");
    }

    void deleteKeepsNumbers() {
        CVelaListFiles list(QStringLiteral("FileFinder_Columns"));
        for (quint32 n = 0; n < 5; ++n)
            list.ListModel()->Append({Record(n, QStringLiteral("/f%1").arg(n), n, 0)});
        for (const int row : {1, 3, 4})
            list.selectionModel()->select(list.ListModel()->index(row, 0),
                                          QItemSelectionModel::Select | QItemSelectionModel::Rows);
        list.DeleteSelectedRows();
        QCOMPARE(Numbers(*list.ListModel()), (QList<quint32>{0, 2}));
    }

    void searchThroughTheFrame_data() {
        QTest::addColumn<int>("mode");
        QTest::addColumn<QList<int>>("answers");  // to "Interrupt the find?", in turn
        QTest::addColumn<int>("rows");
        // The broken archives beside a.zip are skipped without a word.
        QTest::newRow("No continues")
            << vz::finder::kSearchFilesInArchives << QList<int>{QMessageBox::No} << 60;
        // The archives search asks after each file, the second time after two hits.
        QTest::newRow("Yes keeps the rows")
            << vz::finder::kSearchArchives << QList<int>{QMessageBox::No, QMessageBox::Yes} << 2;
    }
    void searchThroughTheFrame() {
        QFETCH(int, mode);
        QFETCH(QList<int>, answers);
        const QString folder = m_dir.filePath(QStringLiteral("search"));
        if (!QFileInfo::exists(folder + "/a.zip")) {
            QMap<QString, QByteArray> entries;
            QMap<QString, QByteArray> broken;
            for (int i = 0; i < 60; ++i)
                entries.insert(QStringLiteral("docs/f%1.txt").arg(i), "x");
            for (int i = 0; i < 20; ++i)
                broken.insert(QStringLiteral("broken%1.zip").arg(i), "not a zip");
            const QString source = m_dir.filePath(QStringLiteral("source"));
            QVERIFY(vzt::MakeTree(source, entries) && vzt::MakeTree(folder, broken));
            QVERIFY(vzt::Run("zip", {"-qr", folder + "/a.zip", "docs"}, source).Ok());
        }
        CMainFrame frame({folder});
        CVelaArchiveTree* tree = frame.ArchiveTree();
        QCOMPARE(tree->PathOfItem(tree->currentIndex()), folder);
        QVERIFY(!frame.IsArchiveFinderShown());

        vz::SetModalDialogHook([mode](QDialog& dialog) {
            auto& find = dynamic_cast<CFindArchives&>(dialog);
            find.ModeBox()->setCurrentIndex(mode);
            find.ArchiveMaskEdit()->setText(QStringLiteral("*.ZIP"));
            find.FileMaskEdit()->setText(QStringLiteral("*.TXT"));
            find.FindButton()->click();
            return dialog.result();
        });
        // Stop is pressed as the search starts; each answer may press it again.
        QPointer<CJob> job;
        const CJob::StartHook previous = CJob::SetStartHook([&](CJob& started) {
            job = &started;
            started.RequestStop();
        });
        QList<QString> questions;
        vz::SetMessageBoxHook([&](const vz::MessageBoxRequest& request) {
            m_boxes << request.text;
            if (request.icon != QMessageBox::Question)
                return QMessageBox::Ok;
            questions << request.text;
            if (questions.size() < answers.size() && job != nullptr)
                job->RequestStop();
            return QMessageBox::StandardButton(answers.value(questions.size() - 1));
        });
        m_boxes.clear();
        tree->Command(vz::cmd::kArchiveFind)->trigger();
        QVERIFY(vzt::WaitForJobs());
        CJob::SetStartHook(previous);
        vz::SetModalDialogHook({});

        QCOMPARE(questions, QStringList(answers.size(), QStringLiteral("Interrupt the find?")));
        CVelaListFiles* list = frame.ArchiveFinder()->List();
        const int rows = list->ListModel()->rowCount();
        QTEST(rows, "rows");
        QCOMPARE(m_boxes.last(),
                 QStringLiteral("For the given search options %1 files are found.").arg(rows));
        QVERIFY(frame.IsArchiveFinderShown());
        QVERIFY(list->SortingEnabled());
        QCOMPARE(list->SortColumn(), -1);

        // Find opens the last selected row's entry in the Archive Browser.
        list->selectionModel()->select(list->ListModel()->index(rows - 1, 0),
                                       QItemSelectionModel::Select | QItemSelectionModel::Rows);
        frame.ArchiveFinder()->FindCommand()->trigger();
        QVERIFY(vzt::WaitForJobs());
        QCOMPARE(tree->PathOfItem(tree->currentIndex()), list->ListModel()->Record(rows - 1).path);
    }
};

QTEST_MAIN(TestFinderPanes)
#include "tst_finderpanes.moc"
