#pragma once
// The question before an existing file is replaced: "This folder already contains a file
// named 'x'." and both files, each with its icon, path and detail lines. The four buttons end
// the dialog with the four answers: "&Yes" 1, "Yes To &All" 2, "&No" 3, "&Cancel" 4 (Escape
// and closing the window answer Cancel).

#include "common/CConfirmDialog.h"
#include "common/OperationObserver.h"

class CConfirmReplace : public CConfirmDialog {
    Q_OBJECT
public:
    explicit CConfirmReplace(QWidget* parent = nullptr);

    // The file that is there now and the one that would replace it: path, icon source and
    // the two detail lines of each.
    void SetExisting(const QString& path, ConfirmIcon icon, const QString& first,
                     const QString& second);
    void SetIncoming(const QString& path, ConfirmIcon icon, const QString& first,
                     const QString& second);
    QStringList ExistingLines() const;
    QStringList IncomingLines() const;

    // Fills the dialog for an overwrite question of an operation: the message and both
    // sides with their size and modification lines (icons by the extension when a side is
    // not on disk).
    void SetQuestion(const OverwriteQuestion& question);

    // The answer for a result of the dialog.
    static ReplaceAnswer AnswerOf(int result);

    void reject() override;

private:
    CConfirmItemView* m_existing;
    CConfirmItemView* m_incoming;
};
