#include "app/CVelaSplitter.h"

#include <QStringList>

#include "settings/CLayoutProfile.h"

CVelaSplitter::CVelaSplitter(int number, Qt::Orientation orientation, QWidget* parent)
    : QSplitter(orientation, parent), m_number(number) {
    setChildrenCollapsible(false);
    setOpaqueResize(true);
}

QString CVelaSplitter::EntryName() const {
    return QStringLiteral("View_%1").arg(m_number);
}

void CVelaSplitter::SetPane(int pane, QWidget* widget, int size, int minimumSize) {
    insertWidget(pane, widget);
    if (orientation() == Qt::Horizontal) {
        widget->setMinimumWidth(minimumSize);
    } else {
        widget->setMinimumHeight(minimumSize);
    }
    m_applied[pane] = size;
    if (count() == 2 && m_applied[0] > 0 && m_applied[1] > 0) {
        ApplySizes(m_applied[0], m_applied[1]);
    }
}

void CVelaSplitter::SetNested(CVelaSplitter* first, CVelaSplitter* second) {
    m_nested[0] = first;
    m_nested[1] = second;
}

QList<int> CVelaSplitter::CurrentSizes() const {
    if (isVisible()) {
        return sizes();
    }
    return {m_applied[0], m_hidden ? 0 : m_applied[1]};
}

void CVelaSplitter::ApplySizes(int first, int second) {
    m_applied[0] = first;
    m_applied[1] = second;
    setSizes({first, second});
}

void CVelaSplitter::ToggleSecondPane() {
    if (count() < 2) {
        return;
    }
    const QList<int> current = CurrentSizes();
    if (!m_hidden) {
        if (current.value(1) > 0) {
            m_hiddenSize = current.value(1);
        }
        widget(1)->hide();
        m_hidden = true;
        return;
    }
    widget(1)->show();
    m_hidden = false;
    if (m_hiddenSize <= 0) {
        return;
    }
    if (!isVisible()) {
        ApplySizes(m_applied[0], m_hiddenSize);
        return;
    }
    // The shown pane is laid out now: a layout still pending would undo the sizes given
    // below (the pane came back at its size hint).
    refresh();
    const QList<int> shown = sizes();
    const int total = shown.value(0) + shown.value(1);
    if (total > m_hiddenSize) {
        ApplySizes(total - m_hiddenSize, m_hiddenSize);
    }
}

int CVelaSplitter::PaneSize(int pane) const {
    if (pane == 1 && m_hidden) {
        return m_hiddenSize;
    }
    const int size = CurrentSizes().value(pane);
    return size > 0 ? size : -1;
}

QString CVelaSplitter::StateText() const {
    const int first = PaneSize(0) == -1 ? 100 : PaneSize(0);
    const int second = PaneSize(1) == -1 ? 100 : PaneSize(1);
    const int columnMark = orientation() == Qt::Horizontal ? HiddenMark() : -1;
    const int rowMark = orientation() == Qt::Vertical ? HiddenMark() : -1;
    return QStringLiteral("%1 %2 %3 %4").arg(columnMark).arg(first).arg(rowMark).arg(second);
}

void CVelaSplitter::ApplyStateText(const QString& text) {
    QStringList parts = text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    int values[4] = {-1, 150, -1, 150};
    if (parts.size() >= 4) {
        for (int i = 0; i < 4; ++i) {
            bool ok = false;
            const int v = parts[i].toInt(&ok);
            if (ok) {
                values[i] = v;
            }
        }
    }
    const int mark = orientation() == Qt::Horizontal ? values[0] : values[2];
    const int first = values[1];
    const int second = values[3];
    if (first > 0 && second > 0) {
        if (m_hidden) {
            m_hiddenSize = second;
            m_applied[0] = first;
        } else {
            ApplySizes(first, second);
        }
    }
    if (mark == 1) {
        ToggleSecondPane();
    }
}

void CVelaSplitter::LoadState() {
    ApplyStateText(CLayoutProfile::SplitterPos(m_number));
    for (CVelaSplitter* nested : m_nested) {
        if (nested != nullptr) {
            nested->LoadState();
        }
    }
}

void CVelaSplitter::SaveState() const {
    CLayoutProfile::SetSplitterPos(m_number, StateText());
    for (const CVelaSplitter* nested : m_nested) {
        if (nested != nullptr) {
            nested->SaveState();
        }
    }
}
