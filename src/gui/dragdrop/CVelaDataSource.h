#pragma once
// The data of a drag out of the Archive Browser: a file list (text/uri-list) that is made
// only when another application asks for it after a drop on it. Nothing is unpacked when the
// drag starts, nor for a drop inside the main window, nor while the drag is still over
// something: the first request after a drop outside the main window (with
// EnableDraggingFromArchiveToOtherApplications on) unpacks the dragged entry into the
// temporary folder, and every request of the drag answers with that one result.

#include <QMimeData>
#include <QPointer>
#include <QString>
#include <functional>

class CVelaDragDropTree;

class CVelaDataSource : public QMimeData {
    Q_OBJECT
public:
    // Unpacks the dragged entry for another application; true with the path of the copy.
    using Renderer = std::function<bool(QString* renderedPath)>;

    // `tree` is the tree the drag starts from; `renderer` makes the data.
    CVelaDataSource(CVelaDragDropTree* tree, Renderer renderer);

    // Made for the clipboard (a Copy): the list is made whenever another application asks,
    // with no drag to wait for.
    void SetForClipboard() { m_forClipboard = true; }

    QStringList formats() const override;
    bool hasFormat(const QString& mimeType) const override;

    // How many requests for the file list came while rendering was allowed, and whether
    // the one unpacking succeeded.
    int RenderCount() const { return m_renderCount; }
    bool Rendered() const { return m_renderCount > 0 && m_result; }
    QString RenderedPath() const { return m_path; }

protected:
    QVariant retrieveData(const QString& mimeType, QMetaType type) const override;

private:
    bool RenderingAllowed() const;

    QPointer<CVelaDragDropTree> m_tree;
    Renderer m_renderer;
    bool m_forClipboard = false;
    mutable int m_renderCount = 0;
    mutable bool m_result = false;
    mutable QString m_path;
};
