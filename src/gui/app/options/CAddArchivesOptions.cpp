#include "app/options/CAddArchivesOptions.h"

#include <QListWidget>
#include <QVBoxLayout>

#include "settings/CSettingsStore.h"

namespace {

// The row texts, in the order of CSettingsStore::AdditionalArchiveExtensions().
const char* const kTexts[] = {"MS-Cabinet (*.cab)",
                              "RAR archive (*.rar)",
                              "Java archive (*.jar)",
                              "Xap archive (*.xap)",
                              "7-Zip archive (*.7z)",
                              "7-Zip multi-volume archive (*.001)",
                              "GZip archive (*.gz)",
                              "GZip archive (*.gzip)",
                              "BZip2 archive (*.bz)",
                              "BZip2 archive (*.bz2)",
                              "BZip2 archive (*.bzip2)",
                              "TAR archive (*.tar)",
                              "GZip compressed Tar archive (*.tgz)",
                              "BZip2 compressed Tar archive (*.tbz)",
                              "BZip2 compressed Tar archive (*.tbz2)",
                              "Iso image (*.iso)",
                              "Check for self-extracting archive (*.exe)"};

}  // namespace

CAddArchivesOptions::CAddArchivesOptions(QWidget* parent)
    : COptionsPage(parent), m_list(new QListWidget(this)) {
    const QStringList& extensions = CSettingsStore::AdditionalArchiveExtensions();
    Q_ASSERT(extensions.size() == static_cast<int>(std::size(kTexts)));
    for (int i = 0; i < extensions.size(); ++i) {
        auto* row = new QListWidgetItem(QString::fromLatin1(kTexts[i]), m_list);
        row->setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable);
        row->setData(Qt::UserRole, extensions[i]);
    }
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_list);
}

void CAddArchivesOptions::Load(const CSettingsRecord& settings) {
    for (int i = 0; i < m_list->count(); ++i) {
        QListWidgetItem* row = m_list->item(i);
        const bool on = settings.EnabledExtensions.contains(row->data(Qt::UserRole).toString(),
                                                            Qt::CaseInsensitive);
        row->setCheckState(on ? Qt::Checked : Qt::Unchecked);
    }
}

void CAddArchivesOptions::Store(CSettingsRecord& settings) const {
    settings.EnabledExtensions = CSettingsStore::AlwaysRecognisedExtensions();
    settings.DisabledExtensions.clear();
    for (int i = 0; i < m_list->count(); ++i) {
        const QListWidgetItem* row = m_list->item(i);
        (row->checkState() == Qt::Checked ? settings.EnabledExtensions
                                          : settings.DisabledExtensions)
            << row->data(Qt::UserRole).toString();
    }
}
