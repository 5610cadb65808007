#include "app/options/CAddAssOptions.h"

#include <QListWidget>
#include <QMimeDatabase>
#include <QVBoxLayout>

#include "desktop/FileAssociations.h"
#include "settings/CSettingsStore.h"

namespace {

// ".CAB", its type's description and, when another program opens it, that program.
QString RowText(const QString& dotted, bool ours) {
    namespace desktop = vz::desktop;
    const QString type = desktop::MimeTypeOfExtension(dotted);
    QString text = dotted;
    if (!type.isEmpty()) {
        text += QStringLiteral(" - ") + QMimeDatabase().mimeTypeForName(type).comment();
    }
    if (!ours) {
        const QString owner = desktop::CurrentOwner(dotted);
        text += owner.isEmpty() ? QStringLiteral("  (no association)")
                                : QStringLiteral("  (%1)").arg(owner);
    }
    return text;
}

}  // namespace

CAddAssOptions::CAddAssOptions(const QString& program, QWidget* parent)
    : COptionsPage(parent), m_program(program), m_list(new QListWidget(this)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_list);
}

void CAddAssOptions::Load(const CSettingsRecord& /*settings*/) {
    m_list->clear();
    m_atOpening.clear();
    for (const QString& dotted : CSettingsStore::AssociationExtensions()) {
        const bool ours = vz::desktop::IsAssociated(dotted);
        auto* row = new QListWidgetItem(RowText(dotted, ours), m_list);
        // An extension of no known type cannot be associated.
        const bool known = !vz::desktop::MimeTypeOfExtension(dotted).isEmpty();
        row->setFlags(known ? Qt::ItemIsEnabled | Qt::ItemIsUserCheckable : Qt::NoItemFlags);
        row->setCheckState(ours ? Qt::Checked : Qt::Unchecked);
        row->setData(Qt::UserRole, dotted);
        m_atOpening << ours;
    }
}

void CAddAssOptions::Store(CSettingsRecord& /*settings*/) const {}

void CAddAssOptions::Apply() {
    for (int i = 0; i < m_list->count(); ++i) {
        const QListWidgetItem* row = m_list->item(i);
        const bool on = row->checkState() == Qt::Checked;
        if (on == m_atOpening[i]) {
            continue;
        }
        const QString dotted = row->data(Qt::UserRole).toString();
        if (on) {
            vz::desktop::Associate(dotted, m_program);
        } else {
            vz::desktop::Release(dotted);
        }
        m_atOpening[i] = on;
    }
}
