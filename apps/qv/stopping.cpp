#include "apps/qv/stopping.h"

#include <atomic>

#include "qvutils/common/platform/interrupts.h"
#include "qvutils/common/tasks/runsignal.h"

namespace {

using qvplatform::StopRequest;

std::atomic<bool> requested = false;
static_assert(std::atomic<bool>::is_always_lock_free);

// False when there is nothing to stop, or it was to stop already and does not.
bool stopOperation() {
    if (!qvRunSignal::isRunning() || qvRunSignal::killRequested()) return false;
    qvRunSignal::requestQuietKill();
    return true;
}

bool forPrompt(StopRequest request) {
    return request == StopRequest::interrupt && stopOperation();
}

bool forCommands(StopRequest) {
    return stopOperation();
}

bool forServer(StopRequest request) {
    if (request == StopRequest::interrupt && qvRunSignal::isRunning()) return stopOperation();
    if (requested.exchange(true)) return false;
    stopOperation();
    return true;
}

}  // namespace

void stopOperationsOnInterrupt() {
    qvplatform::setStopHandler(forPrompt);
}

void stopOperationsOnRequest() {
    qvplatform::setStopHandler(forCommands);
}

StopWatch::StopWatch() {
    requested = false;
    qvplatform::setStopHandler(forServer);
}

StopWatch::~StopWatch() {
    qvplatform::setStopHandler(nullptr);
}

bool StopWatch::stopRequested() {
    return requested;
}
