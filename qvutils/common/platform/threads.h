#pragma once
#include <atomic>
#include <cstdint>

#include "qvutils/common/platform/qvexport.h"

namespace qvplatform {

/// A hint to the processor inside a loop that waits for another thread.
QVCORE_API void pauseProcessor();
/// Lets another thread run.
QVCORE_API void yieldThread();
/// Sleeps at least so long; a millisecond or more where the system counts in those.
QVCORE_API void sleepMicroseconds(int microseconds);

/// A thread of the system, started by startThread and given back by joinThread.
using Thread = std::uintptr_t;

/// False when the system has no room for another thread. The code of `function` stays loaded until
/// the thread has ended where the system would otherwise take it away (Windows).
QVCORE_API bool startThread(void (*function)(void*), void* argument, Thread& thread);
/// Waits until the thread has ended, its atThreadExit functions included.
QVCORE_API void joinThread(Thread thread);

/// Sleeps while `word` holds `value`, for at most so many nanoseconds; negative: without limit. May
/// come back early for no reason. False when the system refuses to wait.
QVCORE_API bool sleepWhileEqual(std::atomic<std::uint32_t>& word, std::uint32_t value,
                                std::int64_t nanoseconds = -1);
/// Wakes at least this many of the threads that sleep on `word` if there are as many. Whoever
/// changes the word does so before the call.
QVCORE_API void wakeSleepers(std::atomic<std::uint32_t>& word, int count);

/// `function(argument)` is called when the calling thread ends, after the destructors of its
/// thread_local objects where the system allows; the last one asked for comes first. For the main
/// thread it may never be called. The function must not use thread_local variables.
QVCORE_API void atThreadExit(void (*function)(void*), void* argument);

/// The calling thread's own object of type T, made when the thread first asks and deleted when it
/// ends; `Use` tells several of the same type apart. A thread_local object with a destructor will
/// not do: GCC on Windows destroys it after its memory has been freed.
template <class T, class Use = T>
T& perThread() {
    thread_local T* object = nullptr;
    if (!object) {
        object = new T();
        atThreadExit([](void* owned) { delete static_cast<T*>(owned); }, object);
    }
    return *object;
}

}  // namespace qvplatform
