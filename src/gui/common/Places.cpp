#include "common/Places.h"

#include <QDir>

namespace vz {

std::vector<PlaceItem> TopLevelPlaces() {
    return {{QDir::homePath(), QStringLiteral("Home"), false},
            {QStringLiteral("/"), QStringLiteral("File System (/)"), false}};
}

}  // namespace vz
