#pragma once
// The top-level places of both browsers.

#include <QString>
#include <vector>

namespace vz {

struct PlaceItem {
    QString path;
    QString displayName;
    bool removable = false;
};

std::vector<PlaceItem> TopLevelPlaces();

}  // namespace vz
