#include "settings/CLayoutProfile.h"

#include <QSettings>

namespace {

QSettings Profile() {
    return QSettings(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("Vela Systems"),
                     QStringLiteral("velazip"));
}

const QString kDefaultSplitterPos = QStringLiteral("-1 150 -1 150");

QString SplitterKey(int splitterNumber) {
    return QStringLiteral("SplitterPos/View_%1").arg(splitterNumber);
}

QString ColumnsKey(const QString& listName) {
    return listName + QStringLiteral("/Width");
}

// "%d %d %d %d": four integers separated by blanks.
bool IsSplitterText(const QString& text) {
    const QStringList parts = text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (parts.size() != 4)
        return false;
    for (const QString& part : parts) {
        bool ok = false;
        part.toInt(&ok);
        if (!ok)
            return false;
    }
    return true;
}

}  // namespace

int CLayoutProfile::ApplicationLook() {
    bool ok = false;
    const int id = Profile().value(QStringLiteral("ApplicationLook")).toInt(&ok);
    return ok ? id : kDefaultApplicationLook;
}

void CLayoutProfile::SetApplicationLook(int id) {
    Profile().setValue(QStringLiteral("ApplicationLook"), id);
}

QString CLayoutProfile::SplitterPos(int splitterNumber) {
    const QString text = Profile().value(SplitterKey(splitterNumber)).toString();
    return IsSplitterText(text) ? text : kDefaultSplitterPos;
}

void CLayoutProfile::SetSplitterPos(int splitterNumber, const QString& value) {
    Profile().setValue(SplitterKey(splitterNumber), value);
}

QList<int> CLayoutProfile::ColumnWidths(const QString& listName) {
    const QString text = Profile().value(ColumnsKey(listName)).toString();
    QList<int> widths;
    for (const QString& part : text.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        bool ok = false;
        const int width = part.toInt(&ok);
        if (!ok)
            return {};  // a damaged entry is no layout at all
        widths << width;
    }
    return widths;
}

void CLayoutProfile::SetColumnWidths(const QString& listName, const QList<int>& widths) {
    QStringList parts;
    for (const int width : widths)
        parts << QString::number(width);
    Profile().setValue(ColumnsKey(listName), parts.join(QLatin1Char(' ')));
}

QByteArray CLayoutProfile::WindowGeometry() {
    return Profile().value(QStringLiteral("Workspace/WindowGeometry")).toByteArray();
}

void CLayoutProfile::SetWindowGeometry(const QByteArray& geometry) {
    Profile().setValue(QStringLiteral("Workspace/WindowGeometry"), geometry);
}

QByteArray CLayoutProfile::WindowState() {
    return Profile().value(QStringLiteral("Workspace/WindowState")).toByteArray();
}

void CLayoutProfile::SetWindowState(const QByteArray& state) {
    Profile().setValue(QStringLiteral("Workspace/WindowState"), state);
}
