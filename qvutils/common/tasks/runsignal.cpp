#include "qvutils/common/tasks/runsignal.h"

#include <atomic>

#include "qvutils/common/diagnostics/diagnostics.h"

namespace {

std::atomic<int> held = 0;
std::atomic<bool> kill = false;
std::atomic<qvRunSignal::Hook> runHook = nullptr;

void tell(bool running) {
    if (const qvRunSignal::Hook hook = runHook) hook(running);
}

}  // namespace

qvRunSignal::qvRunSignal() {
    if (held++ > 0) return;
    kill = false;
    tell(true);
}

qvRunSignal::~qvRunSignal() {
    if (--held == 0) tell(false);
}

bool qvRunSignal::isRunning() { return held > 0; }

void qvRunSignal::requestKill() {
    lprintf("Kill pressed\n");
    requestQuietKill();
}

void qvRunSignal::requestQuietKill() {
    static_assert(std::atomic<bool>::is_always_lock_free);
    kill = true;
}

bool qvRunSignal::killRequested() { return kill && held > 0; }

qvRunSignal::Hook qvRunSignal::setHook(Hook hook) { return runHook.exchange(hook); }
