#pragma once
// The progress window of a long operation, as the main frame sees it: the frame asks it to
// stop (the same request as its Stop button) when the user closes the window or opens the
// options while the operation runs.

class IProgressWindow {
public:
    virtual ~IProgressWindow() = default;
    // Queues a stop request; the running operation takes it up between items and asks the
    // user how to go on, as it does for the Stop button.
    virtual void PostStopRequest() = 0;
};
