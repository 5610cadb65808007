// The desktop commands: archive types' default application and e-mailing a file.

#include <QCoreApplication>

#include "Commands.h"
#include "desktop/CSendFileTo.h"
#include "desktop/FileAssociations.h"

namespace cli {

namespace desktop = vz::desktop;

namespace {

// The extensions named, or all of them; false (with the usage line printed) when an option
// is left or none is named where one is needed.
bool Extensions(const Args& args, bool allWhenNone, const char* usage, QStringList* out) {
    if (!args.Unknown().isEmpty() || (!allWhenNone && args.Rest().isEmpty())) {
        PrintError(QStringLiteral("usage: velazip-cli %1").arg(QLatin1String(usage)));
        return false;
    }
    *out = args.Rest().isEmpty() ? desktop::ArchiveExtensions() : args.Rest();
    return true;
}

}  // namespace

int Associations(Args args) {
    QStringList extensions;
    if (!Extensions(args, true, "associations [EXT...]", &extensions))
        return kUsage;
    for (const QString& extension : extensions) {
        const QString type = desktop::MimeTypeOfExtension(extension);
        const QString owner = desktop::CurrentOwner(extension);
        Print(QStringLiteral("%1 %2 %3 %4")
                  .arg(desktop::IsAssociated(extension) ? QLatin1Char('*') : QLatin1Char(' '))
                  .arg(extension, -6)
                  .arg(type.isEmpty() ? QStringLiteral("(unknown type)") : type, -34)
                  .arg(owner.isEmpty() ? QStringLiteral("(no association)") : owner));
    }
    return kOk;
}

int Associate(Args args) {
    bool ok = true;
    const QString program =
        args.Value(QStringLiteral("--program"),
                   QCoreApplication::applicationDirPath() + QLatin1String("/velazip"), &ok);
    QStringList extensions;
    if (!ok || !Extensions(args, false, "associate [--program PATH] EXT...", &extensions))
        return kUsage;
    int code = kOk;
    for (const QString& extension : extensions) {
        QString reason;
        if (!desktop::Associate(extension, Absolute(program), &reason)) {
            PrintError(QStringLiteral("%1: %2").arg(extension, reason));
            code = kFailed;
        }
    }
    return code;
}

int Release(Args args) {
    QStringList extensions;
    if (!Extensions(args, false, "release EXT...", &extensions))
        return kUsage;
    int code = kOk;
    for (const QString& extension : extensions) {
        QString reason;
        if (!desktop::Release(extension, &reason)) {
            PrintError(QStringLiteral("%1: %2").arg(extension, reason));
            code = kFailed;
        }
    }
    return code;
}

int Email(Args args) {
    if (!args.Unknown().isEmpty() || args.Rest().size() != 1) {
        PrintError(QStringLiteral("usage: velazip-cli email FILE"));
        return kUsage;
    }
    if (!CSendFileTo().Send(Absolute(args.Rest().at(0)))) {
        PrintError(QStringLiteral("no mail program could be started (xdg-email is missing)"));
        return kFailed;
    }
    return kOk;
}

}  // namespace cli
