#include <chrono>
#include <thread>
#include <utility>

#include "qvutils/common/platform/threads.h"
#include "qvutils/common/platform/win32text.h"

namespace qvplatform {

namespace {

struct Call {
    void (*function)(void*);
    void* argument;
    Call* next;
};

void WINAPI runCalls(void* first) {
    for (Call* call = static_cast<Call*>(first); call;) {
        call->function(call->argument);
        delete std::exchange(call, call->next);
    }
}

}  // namespace

void atThreadExit(void (*function)(void*), void* argument) {
    static const DWORD slot = FlsAlloc(runCalls);
    auto* const before = static_cast<Call*>(FlsGetValue(slot));
    FlsSetValue(slot, new Call{function, argument, before});
}

void pauseProcessor() { YieldProcessor(); }

void yieldThread() { SwitchToThread(); }

void sleepMicroseconds(int microseconds) {
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
}

int processorCount() {
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return info.dwNumberOfProcessors ? static_cast<int>(info.dwNumberOfProcessors) : 1;
}

}  // namespace qvplatform
