#pragma once
// Long reads (listing or describing a large archive) run on a worker thread while the
// user-interface thread keeps painting and running its timers. User input is held back until
// the work is done, so nothing the user does can change the tree under the listing.

#include <functional>

namespace vz {

// Runs `work` on a worker thread and returns when it has finished. `work` must not touch
// widgets.
void RunResponsive(const std::function<void()>& work);

}  // namespace vz
