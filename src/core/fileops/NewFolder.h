#pragma once
// Creating a new folder in the File Browser: the first free name of "New Folder",
// "New Folder 1", "New Folder 2", ..., and the creation.
//
// A name counts as taken only when a plain folder holds it (a folder that is neither
// read-only nor a link); anything else under that name is not stepped over, so creating
// the folder then fails and reports the error. That is intended.

#include <QString>

namespace vz::fileops {

// The full path of the folder that a new-folder command creates under `parent`.
QString NewFolderPath(const QString& parent);
// Creates it. On success `createdPath` holds its path.
bool CreateNewFolder(const QString& parent, QString* createdPath);

// "Error Creating Folder" / "Cannot create the folder.".
QString NewFolderErrorCaption();
QString NewFolderFailureText();

}  // namespace vz::fileops
