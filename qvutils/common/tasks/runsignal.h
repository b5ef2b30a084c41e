#pragma once

#include "qvutils/common/platform/qvexport.h"

/// Held for the length of any long operation (loading, saving, running a script). They nest.
class QVCORE_API qvRunSignal {
public:
    qvRunSignal();
    /// The end of the outermost one also takes back a kill request.
    ~qvRunSignal();
    qvRunSignal(const qvRunSignal&) = delete;
    qvRunSignal& operator=(const qvRunSignal&) = delete;

    /// True while any is held, on any thread.
    static bool isRunning();

    /// Asks the running operation to stop: logs "Kill pressed\n". Without effect when nothing runs.
    /// May be called on any thread.
    static void requestKill();
    /// The same without the log, as a handler of the system's signals may call it.
    static void requestQuietKill();
    /// For long operations to look at between their steps.
    static bool killRequested();

    /// Called when the first signal begins (true) and when the last has ended (false). Null takes
    /// the hook away.
    using Hook = void (*)(bool running);
    static Hook setHook(Hook hook);
};
