#include "common/BrowserHistory.h"

#include <QtGlobal>
#include <algorithm>

QString CBrowserHistory::DisplayName(const QString& path) {
    if (path == QLatin1String("/")) {
        return path;
    }
    QString name = path;
    if (name.endsWith(QLatin1Char('/'))) {
        name.chop(1);
    }
    return name.mid(name.lastIndexOf(QLatin1Char('/')) + 1);
}

void CBrowserHistory::Add(const QString& path, int icon, const QString& displayName) {
    Item item;
    item.path = path;
    item.displayName = displayName.isEmpty() ? DisplayName(path) : displayName;
    item.index = m_items.size();
    item.icon = icon;
    m_items.append(item);
    m_current = item.index;
}

const CBrowserHistory::Item& CBrowserHistory::At(qint64 index) const {
    Q_ASSERT(index >= 0 && index < m_items.size());
    return m_items[index];
}

QString CBrowserHistory::Back() {
    return GoTo(m_current - 1);
}

QString CBrowserHistory::Forward() {
    return GoTo(m_current + 1);
}

QString CBrowserHistory::GoTo(qint64 index) {
    const QString path = At(index).path;
    m_current = index;
    return path;
}

void CBrowserHistory::Clear() {
    m_items.clear();
    m_current = -1;
}

QString CBrowserHistory::PreviousName() const {
    return CanGoBack() ? m_items[m_current - 1].displayName : QString();
}

QString CBrowserHistory::NextName() const {
    return CanGoForward() ? m_items[m_current + 1].displayName : QString();
}

QList<qint64> CBrowserHistory::BackMenuIndexes() const {
    QList<qint64> indexes;
    for (qint64 i = m_current - 1; i >= std::max<qint64>(m_current - m_stepsShown, 0); --i) {
        indexes.append(i);
    }
    return indexes;
}

QList<qint64> CBrowserHistory::ForwardMenuIndexes() const {
    QList<qint64> indexes;
    if (m_current == -1) {
        return indexes;
    }
    const qint64 last = std::min<qint64>(m_current + m_stepsShown, Count() - 1);
    for (qint64 i = m_current + 1; i <= last; ++i) {
        indexes.append(i);
    }
    return indexes;
}
