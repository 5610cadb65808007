#include "dragdrop/CVelaDropSource.h"

#include <QCursor>

#include "app/CVelaZipApp.h"
#include "dragdrop/CVelaDragDropTree.h"

CVelaDropSource::CVelaDropSource(CVelaDragDropTree* tree) : m_tree(tree) {
    m_follow.setInterval(kFollowIntervalMs);
    connect(&m_follow, &QTimer::timeout, this, [this] { GiveFeedback(QCursor::pos()); });
}

QRect CVelaDropSource::MainWindowRect() const {
    const QWidget* window = m_tree->window();
    return window->frameGeometry().adjusted(1, 1, -1, -1);
}

void CVelaDropSource::GiveFeedback(const QPoint& globalPos) {
    CVelaZipApp::Flags().outsideMainWindow = !MainWindowRect().contains(globalPos);
}

CVelaDropSource::Action CVelaDropSource::QueryContinue(bool escapePressed, Qt::MouseButtons buttons,
                                                       const QPoint& globalPos) {
    if (escapePressed) {
        return Action::Cancel;
    }
    if (buttons & Qt::LeftButton) {
        return Action::Continue;
    }
    GiveFeedback(globalPos);
    CAppFlags& flags = CVelaZipApp::Flags();
    if (flags.outsideMainWindow) {
        flags.droppedOutside = true;
    }
    return Action::Drop;
}

void CVelaDropSource::Follow() {
    CAppFlags& flags = CVelaZipApp::Flags();
    flags.outsideMainWindow = false;
    flags.droppedOutside = false;
    m_follow.start();
}

void CVelaDropSource::Released(const QPoint& globalPos) {
    m_follow.stop();
    QueryContinue(false, Qt::NoButton, globalPos);
}
