#pragma once

#include "qvutils/common/platform/qvexport.h"

namespace qvplatform {

/// A hint to the processor inside a loop that waits for another thread.
QVCORE_API void pauseProcessor();
/// Lets another thread run.
QVCORE_API void yieldThread();
QVCORE_API void sleepMicroseconds(int microseconds);
/// The number of processors the process may use, at least 1.
QVCORE_API int processorCount();

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
