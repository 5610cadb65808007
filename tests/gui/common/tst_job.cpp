// Jobs: questions from the worker are answered on the user-interface thread, added items
// arrive there in order, the reasons of a failure are kept, and a window that goes away
// ends its jobs without asking and without waiting for an answer that cannot come.

#include <QTest>
#include <QThread>
#include <atomic>

#include "JobWait.h"
#include "common/CJob.h"
#include "common/MessageBox.h"
#include "common/ModalDialog.h"

namespace {

class Collector : public IItemListener {
public:
    void ItemAdded(const QString& fullPath) override {
        onUiThread = onUiThread && QThread::currentThread() == qApp->thread();
        paths << fullPath;
    }
    QStringList paths;
    bool onUiThread = true;
};

}  // namespace

class TestJob : public QObject {
    Q_OBJECT

private slots:
    void cleanup() {
        vz::SetModalDialogHook({});
        vz::SetMessageBoxHook({});
    }

    void questionsAndItemsReachTheUserInterfaceThread() {
        bool askedOnUi = false;
        vz::SetModalDialogHook([&](QDialog&) {
            askedOnUi = QThread::currentThread() == qApp->thread();
            return 2;  // "Yes to All" of the replace question
        });
        Collector items;
        ReplaceAnswer answer = ReplaceAnswer::Cancel;
        QString reasons;
        CJob::Start(
            {},
            [&](CJob& job) {
                IItemListener* listener = job.UiListener(&items);
                for (int i = 0; i < 50; ++i) {
                    listener->ItemAdded(QString::number(i));
                }
                answer = job.Observer().AskOverwrite({});
                job.Observer().Report(QStringLiteral("../a refused"));
                job.Observer().Report(QStringLiteral("b failed"));
            },
            [&](CJob& job) { reasons = job.Reasons(); });
        QVERIFY(vzt::WaitForJobs());
        QVERIFY(askedOnUi);
        QCOMPARE(answer, ReplaceAnswer::YesToAll);
        QCOMPARE(items.paths.size(), 50);
        QCOMPARE(items.paths.last(), QStringLiteral("49"));
        QVERIFY(items.onUiThread);
        QCOMPARE(reasons, QStringLiteral("../a refused\nb failed"));
    }

    void stopAsksTheQuestion_data() {
        QTest::addColumn<QString>("question");
        QTest::addColumn<int>("answer");
        QTest::addColumn<bool>("stopped");
        QTest::newRow("no question") << QString() << int(QMessageBox::No) << true;
        QTest::newRow("question, Yes") << "Interrupt the copy?" << int(QMessageBox::Yes) << true;
        QTest::newRow("question, No") << "Interrupt the copy?" << int(QMessageBox::No) << false;
    }

    void stopAsksTheQuestion() {
        QFETCH(QString, question);
        QFETCH(int, answer);
        QFETCH(bool, stopped);
        int asked = 0;
        vz::SetMessageBoxHook([&](const vz::MessageBoxRequest& request) {
            ++asked;
            return request.text == question ? QMessageBox::StandardButton(answer) : QMessageBox::Ok;
        });
        CJob::Setup setup;
        setup.title = QStringLiteral("Copy Progress");
        setup.interruptQuestion = question;
        bool sawStop = false;
        const CJob::StartHook previous = CJob::SetStartHook([](CJob& job) { job.RequestStop(); });
        CJob::Start(setup, [&](CJob& job) { sawStop = job.Observer().StopRequested(); });
        CJob::SetStartHook(previous);
        QVERIFY(vzt::WaitForJobs());
        QCOMPARE(sawStop, stopped);
        QCOMPARE(asked, question.isEmpty() ? 0 : 1);
    }

    void abortDoesNotWaitForAnUnansweredQuestion() {
        // The question is posted to the user-interface thread, which never gets to it: the
        // window is going away. The worker is told Cancel and the job ends.
        std::atomic<bool> asking{false};
        ReplaceAnswer answer = ReplaceAnswer::Yes;
        bool stopped = false;
        CJob::Start({}, [&](CJob& job) {
            asking = true;
            answer = job.Observer().AskOverwrite({});
            stopped = job.Observer().StopRequested();
        });
        while (!asking) {
            QThread::usleep(100);
        }
        CJob::AbortAll();
        QVERIFY(!CJob::Busy());
        QCOMPARE(answer, ReplaceAnswer::Cancel);
        QVERIFY(stopped);
        // The question that was posted and abandoned is dropped, not shown.
        bool shown = false;
        vz::SetModalDialogHook([&](QDialog&) {
            shown = true;
            return 0;
        });
        QTest::qWait(20);
        QVERIFY(!shown);
    }

    void aWaitedJobRunsItsQuestionsInItsWindow() {
        // Longer than the moment the caller waits: the window serves the question.
        vz::SetModalDialogHook([](QDialog&) { return 3; });  // "No"
        CJob::Setup setup;
        setup.title = QStringLiteral("List Progress");
        ReplaceAnswer answer = ReplaceAnswer::Cancel;
        QVERIFY(CJob::Run(setup, [&](CJob& job) { answer = job.Observer().AskOverwrite({}); }));
        QCOMPARE(answer, ReplaceAnswer::No);
        QVERIFY(!CJob::Busy());
    }
};

QTEST_MAIN(TestJob)
#include "tst_job.moc"
