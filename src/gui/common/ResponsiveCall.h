#pragma once
// Long reads (listing or describing a large archive) and the commits of edits run on a worker
// thread while the user-interface thread keeps painting and running its timers. User input is
// held back until the work is done, so nothing the user does can change the tree under the
// listing. A window close is not user input: while such a call runs it counts as a running
// operation (ResponsiveCallRunning), and the main frame's busy check refuses the close.

#include <functional>

namespace vz {

// Runs `work` on a worker thread and returns when it has finished. `work` must not touch
// widgets.
void RunResponsive(const std::function<void()>& work);

// Whether a RunResponsive call is waiting for its work on the user-interface thread.
bool ResponsiveCallRunning();

}  // namespace vz
