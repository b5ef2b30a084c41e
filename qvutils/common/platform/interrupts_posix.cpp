#include <signal.h>

#include <atomic>
#include <cerrno>

#include "qvutils/common/platform/interrupts.h"

namespace qvplatform {

namespace {

std::atomic<StopHandler> handler = nullptr;
static_assert(std::atomic<StopHandler>::is_always_lock_free);

constexpr int watched[] = {SIGINT, SIGTERM, SIGHUP};

void onSignal(int signal) {
    const int errorBefore = errno;
    const StopHandler stop = handler;
    const StopRequest request = signal == SIGINT ? StopRequest::interrupt : StopRequest::terminate;
    if (!stop || !stop(request)) {
        // The system ends the program when this handler returns, and says why to who waits for it.
        ::signal(signal, SIG_DFL);
        raise(signal);
    }
    errno = errorBefore;
}

void install(int signal, void (*function)(int)) {
    struct sigaction before {};
    sigaction(signal, nullptr, &before);
    if (before.sa_handler == SIG_IGN) return;
    struct sigaction action {};
    action.sa_handler = function;
    sigemptyset(&action.sa_mask);
    // No SA_RESTART: a wait for input or for a connection shall come back.
    sigaction(signal, &action, nullptr);
}

}  // namespace

StopHandler setStopHandler(StopHandler newHandler) {
    const StopHandler before = handler.exchange(newHandler);
    for (const int signal : watched) install(signal, newHandler ? onSignal : SIG_DFL);
    return before;
}

}  // namespace qvplatform
