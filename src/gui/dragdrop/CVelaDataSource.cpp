#include "dragdrop/CVelaDataSource.h"

#include <QUrl>
#include <utility>

#include "common/CAppFlags.h"
#include "dragdrop/CVelaDragDropTree.h"
#include "platform/FileSystem.h"
#include "settings/CSettingsRecord.h"

namespace {

const QString& UriList() {
    static const QString format = QStringLiteral("text/uri-list");
    return format;
}

}  // namespace

CVelaDataSource::CVelaDataSource(CVelaDragDropTree* tree, Renderer renderer)
    : m_tree(tree), m_renderer(std::move(renderer)) {}

QStringList CVelaDataSource::formats() const {
    return {UriList()};
}

bool CVelaDataSource::hasFormat(const QString& mimeType) const {
    return mimeType == UriList();
}

bool CVelaDataSource::RenderingAllowed() const {
    if (m_tree == nullptr || !m_tree->Settings().EnableDraggingFromArchiveToOtherApplications) {
        return false;
    }
    if (m_forClipboard) {
        return true;
    }
    if (m_tree->DragInProgress() == -1) {
        // Asked while the drag still runs: a program the drag passes over looks at the data
        // (the pointer buttons cannot tell, a drag hides them). A drop ends the drag before
        // the program it landed on asks.
        return false;
    }
    const CAppFlags& flags = CAppFlags::Instance();
    return flags.outsideMainWindow && flags.droppedOutside;
}

QVariant CVelaDataSource::retrieveData(const QString& mimeType, QMetaType type) const {
    if (mimeType != UriList() || !m_renderer || !RenderingAllowed()) {
        return {};
    }
    if (m_renderCount == 0) {
        m_result = m_renderer(&m_path);
    }
    ++m_renderCount;
    if (!m_result || m_path.isEmpty()) {
        return {};
    }
    const QUrl url = vz::platform::UrlOfPath(m_path);
    if (type.id() == QMetaType::QByteArray) {
        return url.toEncoded() + QByteArrayLiteral("\r\n");
    }
    return QVariantList{url};
}
