#include "common/CProgressObserver.h"

#include <QCoreApplication>

#include "app/CVelaZipApp.h"
#include "common/CConfirmReplace.h"
#include "common/CPackProgress.h"
#include "common/CPasswordDialog.h"
#include "common/MessageBox.h"
#include "common/ModalDialog.h"

CProgressObserver::CProgressObserver(CPackProgress* dialog, QString interruptQuestion,
                                     QWidget* parent)
    : m_dialog(dialog), m_question(std::move(interruptQuestion)), m_parent(parent) {}

void CProgressObserver::Progress(int percent, const QString& currentName) {
    m_percent = percent;
    if (!currentName.isEmpty()) {
        m_name = currentName;
    }
    m_progressPending = true;
    // Repainting the bar for every small file would cost more than copying it.
    if (!m_sinceUpdate.isValid() || m_sinceUpdate.elapsed() >= kUpdateIntervalMs) {
        ShowProgress();
    }
}

void CProgressObserver::ShowProgress() {
    if (m_dialog != nullptr && m_progressPending) {
        m_dialog->SetProgress(m_percent, m_name);
    }
    m_progressPending = false;
    m_sinceUpdate.start();
}

void CProgressObserver::Pump() {
    ShowProgress();
    QCoreApplication::processEvents();
    m_sincePump.start();
}

bool CProgressObserver::StopRequested() {
    if (m_cancelled) {
        return true;
    }
    if (!m_sincePump.isValid() || m_sincePump.elapsed() >= kPumpIntervalMs) {
        Pump();
    }
    if (m_dialog == nullptr || !m_dialog->TakeStopRequest()) {
        return false;
    }
    const QMessageBox::StandardButton answer =
        vz::ShowMessageBox(m_parent, QString::fromLatin1(CVelaZipApp::kProductName), m_question,
                           QMessageBox::Question, QMessageBox::Yes | QMessageBox::No);
    m_cancelled = answer == QMessageBox::Yes;
    return m_cancelled;
}

ReplaceAnswer CProgressObserver::AskOverwrite(const OverwriteQuestion& question) {
    CConfirmReplace dialog(m_parent);
    dialog.SetQuestion(question);
    const ReplaceAnswer answer = CConfirmReplace::AnswerOf(vz::ExecModal(dialog));
    // The next poll lets events through at once: a Stop may have come with the answer.
    m_sincePump.invalidate();
    return answer;
}

bool CProgressObserver::AskPassword(const QString& archivePath, const QString& entryPath,
                                    bool retry, QString* password) {
    CPasswordDialog dialog(m_parent);
    dialog.SetQuestion(archivePath, entryPath, retry);
    const bool given = vz::ExecModal(dialog) == QDialog::Accepted;
    m_sincePump.invalidate();
    if (given && password != nullptr) {
        *password = dialog.Password();
    }
    return given;
}
