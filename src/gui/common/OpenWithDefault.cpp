#include "common/OpenWithDefault.h"

#include <QDesktopServices>
#include <QUrl>
#include <utility>

namespace vz {

namespace {
OpenHook& Hook() {
    static OpenHook hook;
    return hook;
}
}  // namespace

OpenHook SetOpenHook(OpenHook hook) {
    return std::exchange(Hook(), std::move(hook));
}

bool OpenWithDefaultApplication(const QString& path) {
    if (Hook()) {
        return Hook()(path);
    }
    return QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

}  // namespace vz
