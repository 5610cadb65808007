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
    m_initialSizes[pane] = size;
    if (count() == 2 && m_initialSizes[0] > 0 && m_initialSizes[1] > 0) {
        setSizes({m_initialSizes[0], m_initialSizes[1]});
    }
}

void CVelaSplitter::SetNested(CVelaSplitter* first, CVelaSplitter* second) {
    m_nested[0] = first;
    m_nested[1] = second;
}

void CVelaSplitter::ToggleSecondPane() {
    if (count() < 2) {
        return;
    }
    QWidget* second = widget(1);
    if (!m_hidden) {
        const QList<int> s = sizes();
        if (s.value(1) > 0) {
            m_hiddenSize = s.value(1);
        }
        second->hide();
        m_hidden = true;
    } else {
        const QList<int> s = sizes();
        const int total = s.value(0) + s.value(1);
        second->show();
        m_hidden = false;
        if (m_hiddenSize > 0 && total > m_hiddenSize) {
            setSizes({total - m_hiddenSize, m_hiddenSize});
        }
    }
}

int CVelaSplitter::PaneSize(int pane) const {
    if (pane == 1 && m_hidden) {
        return m_hiddenSize;
    }
    const int size = sizes().value(pane);
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
            setSizes({first, 0});
        } else {
            setSizes({first, second});
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
