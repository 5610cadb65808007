#pragma once
// For the window's tests: long work runs as jobs on worker threads, so a test that starts
// one (a drop, an unpack, a double-click) waits for it before it looks at the result.

#include <QTest>

#include "common/CJob.h"

namespace vzt {

// Lets events through until no job runs and no drop holds the busy guard; false when that
// did not happen within `timeoutMs`.
inline bool WaitForJobs(int timeoutMs = 60000) {
    return QTest::qWaitFor([] { return !CJob::Busy(); }, timeoutMs);
}

}  // namespace vzt
