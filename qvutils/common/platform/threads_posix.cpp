#include <linux/futex.h>
#include <pthread.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <ctime>
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

/// Deleted when the library is unloaded or the program ends: a thread that ends later must not
/// jump to code that is gone.
struct Key {
    pthread_key_t value{};
    Key() { pthread_key_create(&value, runCalls); }
    ~Key() { pthread_key_delete(value); }
};

}  // namespace

void atThreadExit(void (*function)(void*), void* argument) {
    static const Key key;
    auto* const before = static_cast<Call*>(pthread_getspecific(key.value));
    pthread_setspecific(key.value, new Call{function, argument, before});
}

void pauseProcessor() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    __asm__ __volatile__("yield");
#endif
}

void yieldThread() {
    sched_yield();
}

void sleepMicroseconds(int microseconds) {
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
}

namespace {

struct Start {
    void (*function)(void*);
    void* argument;
};

void* runThread(void* given) {
    const Start start = *static_cast<Start*>(given);
    delete static_cast<Start*>(given);
    start.function(start.argument);
    return nullptr;
}

}  // namespace

static_assert(sizeof(Thread) == sizeof(pthread_t));

bool startThread(void (*function)(void*), void* argument, Thread& thread) {
    auto* const start = new Start{function, argument};
    pthread_t made{};
    if (pthread_create(&made, nullptr, runThread, start) != 0) {
        delete start;
        return false;
    }
    thread = static_cast<Thread>(made);
    return true;
}

void joinThread(Thread thread) {
    pthread_join(static_cast<pthread_t>(thread), nullptr);
}

bool sleepWhileEqual(std::atomic<std::uint32_t>& word, std::uint32_t value,
                     std::int64_t nanoseconds) {
    timespec limit{};
    limit.tv_sec = nanoseconds / 1'000'000'000;
    limit.tv_nsec = nanoseconds % 1'000'000'000;
    const long done = syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, value,
                              nanoseconds < 0 ? nullptr : &limit, nullptr, 0);
    return done == 0 || errno == EAGAIN || errno == EINTR || errno == ETIMEDOUT;
}

void wakeSleepers(std::atomic<std::uint32_t>& word, int count) {
    syscall(SYS_futex, &word, FUTEX_WAKE_PRIVATE, count, nullptr, nullptr, 0);
}

}  // namespace qvplatform
