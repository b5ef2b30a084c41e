#pragma once
#include "qvutils/common/tasks/runsignal.h"
#include "qvutils/ui/project/qvprojman.h"

/// Held for the length of a long operation of the tree: run signal and busy cursor.
class qvBusy {
public:
    qvBusy() { getProjectManager().services().setBusy(true); }
    ~qvBusy() { getProjectManager().services().setBusy(false); }
    qvBusy(const qvBusy&) = delete;
    qvBusy& operator=(const qvBusy&) = delete;

private:
    qvRunSignal running_;
};
