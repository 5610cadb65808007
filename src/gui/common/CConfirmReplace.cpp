#include "common/CConfirmReplace.h"

#include <QApplication>
#include <QLabel>
#include <QStyle>
#include <QVBoxLayout>

#include "fileops/CFileCopier.h"
#include "fileops/FileDescriptions.h"
#include "platform/FileSystem.h"

namespace {

// The detail lines of one side of a question, from what the operation knows of it.
vz::fileops::DetailLines LinesOf(const ItemFacts& facts) {
    vz::platform::FileFacts f;
    f.size = facts.size;
    f.modified = facts.modified;
    return vz::fileops::FileDetailLines(f);
}

}  // namespace

CConfirmReplace::CConfirmReplace(QWidget* parent)
    : CConfirmDialog(parent),
      m_existing(new CConfirmItemView(this)),
      m_incoming(new CConfirmItemView(this)) {
    setObjectName(QStringLiteral("ConfirmReplace"));
    setWindowTitle(QStringLiteral("Confirm File Replace"));
    ItemView()->SetIcon(QApplication::style()->standardIcon(QStyle::SP_MessageBoxQuestion));
    Body()->addWidget(
        new QLabel(QStringLiteral("Would you like to replace the existing file"), this));
    Body()->addWidget(m_existing);
    Body()->addWidget(new QLabel(QStringLiteral("with this one?"), this));
    Body()->addWidget(m_incoming);
    AddButton(QStringLiteral("&Yes"), static_cast<int>(ReplaceAnswer::Yes));
    AddButton(QStringLiteral("Yes To &All"), static_cast<int>(ReplaceAnswer::YesToAll));
    AddButton(QStringLiteral("&No"), static_cast<int>(ReplaceAnswer::No));
    AddButton(QStringLiteral("&Cancel"), static_cast<int>(ReplaceAnswer::Cancel));
}

void CConfirmReplace::SetExisting(const QString& path, ConfirmIcon icon, const QString& first,
                                  const QString& second) {
    m_existing->SetIcon(ConfirmIconFor(path, icon));
    m_existing->SetLines({path, first, second});
}

void CConfirmReplace::SetIncoming(const QString& path, ConfirmIcon icon, const QString& first,
                                  const QString& second) {
    m_incoming->SetIcon(ConfirmIconFor(path, icon));
    m_incoming->SetLines({path, first, second});
}

QStringList CConfirmReplace::ExistingLines() const {
    return m_existing->Lines();
}

QStringList CConfirmReplace::IncomingLines() const {
    return m_incoming->Lines();
}

void CConfirmReplace::SetQuestion(const OverwriteQuestion& question) {
    SetMessage(ReplaceMessage(question));
    const auto iconOf = [](const QString& path) {
        return vz::platform::ReadFacts(path).exists ? ConfirmIcon::RealFile
                                                    : ConfirmIcon::ExtensionOnly;
    };
    const vz::fileops::DetailLines existing = LinesOf(question.existing);
    const vz::fileops::DetailLines incoming = LinesOf(question.incoming);
    SetExisting(question.existing.path, iconOf(question.existing.path), existing.first,
                existing.second);
    SetIncoming(question.incoming.path, iconOf(question.incoming.path), incoming.first,
                incoming.second);
}

ReplaceAnswer CConfirmReplace::AnswerOf(int result) {
    switch (result) {
        case static_cast<int>(ReplaceAnswer::Yes):
            return ReplaceAnswer::Yes;
        case static_cast<int>(ReplaceAnswer::YesToAll):
            return ReplaceAnswer::YesToAll;
        case static_cast<int>(ReplaceAnswer::No):
            return ReplaceAnswer::No;
        default:
            return ReplaceAnswer::Cancel;
    }
}

void CConfirmReplace::reject() {
    done(static_cast<int>(ReplaceAnswer::Cancel));
}
