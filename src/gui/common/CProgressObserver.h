#pragma once
// The observer through which a long operation of the window (copying, unpacking, packing)
// talks to the user: progress goes to its CPackProgress dialog, and between blocks the
// observer lets pending events through (a few times a second), so that the window stays
// live and the dialog's Stop reaches the operation. A pending Stop is turned into the
// operation's own question ("Interrupt the copy?", caption "Vela-ZIP Archiver", Yes/No):
// Yes ends the operation, No lets it go on. Overwrite questions are shown as
// CConfirmReplace, and the password of an encrypted entry is asked with CPasswordDialog.

#include <QElapsedTimer>
#include <QString>

#include "common/OperationObserver.h"

class CPackProgress;
class QWidget;

class CProgressObserver : public IOperationObserver {
public:
    // How often, at most, pending events are let through and the dialog is updated.
    static constexpr int kPumpIntervalMs = 100;
    static constexpr int kUpdateIntervalMs = 50;

    // `dialog` may be null (no progress shown, no Stop). `interruptQuestion` is asked when
    // Stop was pressed; `parent` is the parent of the question boxes.
    CProgressObserver(CPackProgress* dialog, QString interruptQuestion, QWidget* parent);

    void Progress(int percent, const QString& currentName) override;
    bool StopRequested() override;
    ReplaceAnswer AskOverwrite(const OverwriteQuestion& question) override;
    // Asked with CPasswordDialog; false when the user cancelled it.
    bool AskPassword(const QString& archivePath, const QString& entryPath, bool retry,
                     QString* password) override;

    // True once the user answered Yes to the interrupt question.
    bool Cancelled() const { return m_cancelled; }
    // Shows the latest progress and lets pending events through now.
    void Pump();

protected:
    QWidget* Parent() const { return m_parent; }

private:
    void ShowProgress();

    CPackProgress* m_dialog;
    QString m_question;
    QWidget* m_parent;
    QElapsedTimer m_sincePump;
    QElapsedTimer m_sinceUpdate;
    int m_percent = 0;
    QString m_name;
    bool m_progressPending = false;
    bool m_cancelled = false;
};
