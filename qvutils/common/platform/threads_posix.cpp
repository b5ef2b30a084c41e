#include <pthread.h>
#include <sched.h>

#include <chrono>
#include <thread>
#include <utility>

#include "qvutils/common/platform/threads.h"

namespace qvplatform {

namespace {

struct Call {
    void (*function)(void*);
    void* argument;
    Call* next;
};

void runCalls(void* first) {
    for (Call* call = static_cast<Call*>(first); call;) {
        call->function(call->argument);
        delete std::exchange(call, call->next);
    }
}

pthread_key_t makeKey() {
    pthread_key_t key{};
    pthread_key_create(&key, runCalls);
    return key;
}

}  // namespace

void atThreadExit(void (*function)(void*), void* argument) {
    static const pthread_key_t key = makeKey();
    auto* const before = static_cast<Call*>(pthread_getspecific(key));
    pthread_setspecific(key, new Call{function, argument, before});
}

void pauseProcessor() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    __asm__ __volatile__("yield");
#endif
}

void yieldThread() { sched_yield(); }

void sleepMicroseconds(int microseconds) {
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
}

int processorCount() {
    cpu_set_t set;
    if (sched_getaffinity(0, sizeof set, &set) == 0 && CPU_COUNT(&set) > 0) return CPU_COUNT(&set);
    const unsigned count = std::thread::hardware_concurrency();
    return count ? static_cast<int>(count) : 1;
}

}  // namespace qvplatform
