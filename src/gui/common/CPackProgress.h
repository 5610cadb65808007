#pragma once
// The progress window of a job (packing, unpacking, copying, a long listing): the current
// item, a bar from 0 to 100, the elapsed time "Elapsed time: h:mm:ss" and a "&Stop" button.
// It is modeless while the job runs on its worker thread, so the window stays live.
//
// "&Stop", Escape and the window's close button do not close the window: they post a stop
// request, which the job takes up the next time its work polls and turns into its question
// ("Interrupt the copy?").

#include <QDialog>
#include <QElapsedTimer>
#include <QString>

class QLabel;
class QProgressBar;
class QPushButton;

class CPackProgress : public QDialog {
    Q_OBJECT
public:
    // Titled "Pack Progress"; operations set their own title ("Copy Progress").
    explicit CPackProgress(QWidget* parent = nullptr);

    // "Elapsed time: %d:%02d:%02d" for a number of whole seconds (3725 gives 1:02:05).
    static QString ElapsedText(qint64 seconds);

    // A progress report: the bar goes to `percent`; the elapsed time line changes when the
    // whole second has changed since the last report; the item line shows `name` when
    // there is one.
    void SetProgress(int percent, const QString& name = {});
    // The same, with the elapsed time given (for tests and for callers that time).
    void SetProgressAt(int percent, const QString& name, qint64 elapsedMs);

    int Percent() const;
    QString ElapsedLine() const;
    QString ItemLine() const;
    QPushButton* StopButton() const { return m_stop; }

    // The same request as the Stop button.
    void PostStopRequest();
    // Whether a stop request is pending; taking it clears it.
    bool StopPending() const { return m_stopPending; }
    bool TakeStopRequest();

    void reject() override;

signals:
    void StopRequested();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    QLabel* m_item;
    QProgressBar* m_bar;
    QLabel* m_elapsed;
    QPushButton* m_stop;
    QElapsedTimer m_clock;
    qint64 m_lastSecond = -1;
    bool m_stopPending = false;
};
