#pragma once
// What `velazip` does when a file manager's context-menu item starts it with an action
// option: only the dialogs that item needs, the product's own progress windows, questions
// and error boxes, and no main window.
//
// Adding: the selected files and folders go into one new zip archive beside the first of
// them, named after it (its name without its extension). "Add to archive..." asks in "Name
// and Compression Settings" first; the "<file name>.zip" items use the settings as they are
// and ask nothing but "Confirm Replace" when a file of that name is there. The e-mail items
// then hand the archive to the mail program.
//
// Extracting: each selected archive is unpacked with the "Unpack" settings (overwrite
// questions included): into a chosen folder ("Extract to..."), beside itself ("Extract
// here"), all into a folder beside the first named after it without its extension ("Extract
// to <folder name>"), or each into such a folder of its own ("Extract here using file names
// for folders"). A Stop or a cancelled question ends the action.

#include <QString>
#include <QStringList>
#include <functional>

#include "desktop/ShellMenus.h"
#include "settings/CSettingsRecord.h"

class CShellActions {
public:
    // The command line of `velazip` (without the program's name).
    struct Request {
        enum class Kind { Window, Help, Action, Usage } kind = Kind::Window;
        vz::desktop::ShellAction action = vz::desktop::ShellAction::AddToArchive;
        QStringList paths;  // full paths (file URIs and relative names resolved)
        QString error;      // why the command line was refused (Usage)
    };
    // An action option must be followed by at least one file, and everything after it is
    // taken as a file (a file named "-h" too); before it, "--help" or "-h" asks for the
    // usage and another argument starting with "--" is refused. Anything else is left to the window
    // (and to Qt).
    static Request Parse(const QList<QByteArray>& arguments);
    static QString Usage();

    // Told once, when the action has ended: true when it did all it was asked to.
    using Done = std::function<void(bool ok)>;
    CShellActions(const Request& request, const CSettingsRecord& settings);
    // Starts the action; its dialogs and jobs run in the event loop.
    void Start(Done done);

private:
    void Pack(bool ask, bool email);
    void Extract();
    void ExtractFrom(int index);
    void Finish(bool ok);

    Request m_request;
    CSettingsRecord m_settings;
    Done m_done;
    QStringList m_destinations;  // per archive
    bool m_allOk = true;
};
