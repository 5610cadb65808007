#pragma once
// For the window's tests: the Archive Browser and the File Browser side by side in one shown
// window, both reading a scratch folder, as drags between them need.

#include <QHBoxLayout>
#include <QWidget>
#include <memory>

#include "FamilyFixtures.h"
#include "archivebrowser/CVelaArchiveTree.h"
#include "filebrowser/CVelaFileTree.h"
#include "settings/CSettingsRecord.h"

namespace vzt {

struct CTwoPanes {
    std::unique_ptr<QWidget> window;
    CVelaArchiveTree* archive = nullptr;
    CVelaFileTree* files = nullptr;

    // Shows both trees on `root`; archives unpack for opening into root/temp.
    void Show(const QString& root, CSettingsRecord* settings) {
        window = std::make_unique<QWidget>();
        auto* layout = new QHBoxLayout(window.get());
        layout->addWidget(archive = new CVelaArchiveTree(window.get()));
        layout->addWidget(files = new CVelaFileTree(window.get()));
        archive->SetSettings(settings);
        files->SetSettings(settings);
        archive->SetArchiveExtensions(AllExtensions());
        archive->SetTempFolder(root + "/temp");
        archive->Populate(root);
        vz::platform::CPlace place;
        place.path = root;
        place.home = true;
        files->FillRoots({place});
        window->setGeometry(100, 100, 900, 600);
        window->show();
    }
};

// The item of a path in either tree; invalid when the path is not there.
template <class Tree>
QModelIndex ItemAt(Tree* tree, const QString& path) {
    const QModelIndex item = tree->Navigate(path);
    return tree->PathOfItem(item) == path ? item : QModelIndex();
}

}  // namespace vzt
