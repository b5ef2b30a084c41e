#include "qvutils/common/platform/interrupts.h"
#include "qvutils/common/platform/win32text.h"

#include <atomic>

namespace qvplatform {

namespace {

std::atomic<StopHandler> handler = nullptr;

BOOL WINAPI onControlEvent(DWORD event) {
    const StopHandler stop = handler;
    const bool isInterrupt = event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
    if (!stop || !stop(isInterrupt ? StopRequest::interrupt : StopRequest::terminate)) return FALSE;
    // When the console closes the system ends the process as soon as this function returns, or
    // after some seconds. Until then the program may end by itself, and this thread with it.
    if (!isInterrupt) Sleep(INFINITE);
    return TRUE;
}

}  // namespace

StopHandler setStopHandler(StopHandler newHandler) {
    const StopHandler before = handler.exchange(newHandler);
    if (!before && newHandler) SetConsoleCtrlHandler(onControlEvent, TRUE);
    if (before && !newHandler) SetConsoleCtrlHandler(onControlEvent, FALSE);
    return before;
}

}  // namespace qvplatform
