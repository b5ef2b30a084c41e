#include <chrono>
#include <thread>

#include "qvutils/common/platform/threads.h"
#include "qvutils/common/platform/win32text.h"

namespace qvplatform {

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
