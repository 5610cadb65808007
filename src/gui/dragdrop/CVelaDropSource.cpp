#include "dragdrop/CVelaDropSource.h"

#include <QApplication>
#include <QEvent>
#include <QWindow>

#include "common/CAppFlags.h"
#include "dragdrop/CVelaDragDropTree.h"

CVelaDropSource::CVelaDropSource(CVelaDragDropTree* tree) : m_tree(tree) {}

CVelaDropSource::~CVelaDropSource() {
    if (m_following) {
        qApp->removeEventFilter(this);
    }
}

bool CVelaDropSource::IsMainWindow(const QWindow* window) const {
    if (window == nullptr) {
        return false;
    }
    // The main window is the top of the tree's chain of windows.
    const QWidget* main = m_tree->window();
    while (main->parentWidget() != nullptr) {
        main = main->parentWidget()->window();
    }
    for (QWidget* top : QApplication::topLevelWidgets()) {
        if (top->windowHandle() != window) {
            continue;
        }
        for (const QWidget* w = top; w != nullptr;
             w = w->parentWidget() != nullptr ? w->parentWidget()->window() : nullptr) {
            if (w == main) {
                return true;
            }
        }
    }
    return false;
}

bool CVelaDropSource::eventFilter(QObject* watched, QEvent* event) {
    // The events that the platform gives a window (before the window hands them on to the
    // widget under the drag): they say when the drag enters, leaves or is dropped on it.
    const QEvent::Type type = event->type();
    if ((type == QEvent::DragEnter || type == QEvent::DragLeave || type == QEvent::Drop) &&
        watched->isWindowType() && IsMainWindow(static_cast<QWindow*>(watched))) {
        CAppFlags& flags = CAppFlags::Instance();
        switch (type) {
            case QEvent::DragEnter:
                flags.outsideMainWindow = false;
                break;
            case QEvent::DragLeave:
                flags.outsideMainWindow = true;
                break;
            default:
                flags.outsideMainWindow = false;
                m_droppedInside = true;
                break;
        }
    }
    return QObject::eventFilter(watched, event);
}

CVelaDropSource::Action CVelaDropSource::QueryContinue(bool escapePressed,
                                                       Qt::MouseButtons buttons) {
    if (escapePressed) {
        return Action::Cancel;
    }
    if (buttons & Qt::LeftButton) {
        return Action::Continue;
    }
    CAppFlags& flags = CAppFlags::Instance();
    if (flags.outsideMainWindow && !m_droppedInside) {
        flags.droppedOutside = true;
    }
    return Action::Drop;
}

void CVelaDropSource::Follow() {
    CAppFlags& flags = CAppFlags::Instance();
    flags.outsideMainWindow = false;
    flags.droppedOutside = false;
    m_droppedInside = false;
    if (!m_following) {
        m_following = true;
        qApp->installEventFilter(this);
    }
}

void CVelaDropSource::Released() {
    if (m_following) {
        m_following = false;
        qApp->removeEventFilter(this);
    }
    QueryContinue(false, Qt::NoButton);
}
