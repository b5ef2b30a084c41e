#include <process.h>

#include <algorithm>
#include <atomic>
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

std::atomic<bool> slotGone = false;

void WINAPI runCalls(void* first) {
    if (slotGone) return;  // freeing the slot calls this for every thread, with much gone already
    for (Call* call = static_cast<Call*>(first); call;) {
        call->function(call->argument);
        delete std::exchange(call, call->next);
    }
}

/// Freed when the library is unloaded or the program ends: a thread that ends later must not jump
/// to code that is gone.
struct Slot {
    const DWORD value = FlsAlloc(runCalls);
    Slot() = default;
    Slot(const Slot&) = delete;
    Slot& operator=(const Slot&) = delete;
    ~Slot() {
        slotGone = true;
        FlsFree(value);
    }
};

}  // namespace

void atThreadExit(void (*function)(void*), void* argument) {
    static const Slot slot;
    if (slotGone) return;  // somebody else may have the number by now
    auto* const before = static_cast<Call*>(FlsGetValue(slot.value));
    FlsSetValue(slot.value, new Call{function, argument, before});
}

void pauseProcessor() {
    YieldProcessor();
}

void yieldThread() {
    SwitchToThread();
}

void sleepMicroseconds(int microseconds) {
    // The system counts in milliseconds; the standard library's sleep rounds down, to none at all.
    Sleep(static_cast<DWORD>((microseconds + 999) / 1000));
}

namespace {

struct Start {
    void (*function)(void*);
    void* argument;
    HMODULE module;
};

/// The thread holds the module that its code is in, so that unloading it cannot pull the ground
/// from under the thread, and lets go of it in one step with its end.
unsigned __stdcall runThread(void* given) {
    const Start start = *static_cast<Start*>(given);
    delete static_cast<Start*>(given);
    start.function(start.argument);
    if (start.module) FreeLibraryAndExitThread(start.module, 0);
    return 0;
}

/// Sleeping on a word: by its address a thread finds the place where it sleeps. Words that share a
/// place wake each other for no reason, which callers expect anyway.
struct Place {
    SRWLOCK lock = SRWLOCK_INIT;
    CONDITION_VARIABLE changed = CONDITION_VARIABLE_INIT;
};

Place& placeOf(const void* word) {
    static Place places[64];
    return places[reinterpret_cast<std::uintptr_t>(word) / 64 % 64];
}

}  // namespace

bool startThread(void (*function)(void*), void* argument, Thread& thread) {
    auto* const start = new Start{function, argument, nullptr};
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<LPCWSTR>(&runThread), &start->module);
    HMODULE const module = start->module;
    thread = _beginthreadex(nullptr, 0, runThread, start, 0, nullptr);
    if (thread) return true;
    delete start;
    if (module) FreeLibrary(module);
    return false;
}

void joinThread(Thread thread) {
    WaitForSingleObject(reinterpret_cast<HANDLE>(thread), INFINITE);
    CloseHandle(reinterpret_cast<HANDLE>(thread));
}

bool sleepWhileEqual(std::atomic<std::uint32_t>& word, std::uint32_t value,
                     std::int64_t nanoseconds) {
    Place& place = placeOf(&word);
    // Coming back early from a wait of weeks is allowed.
    constexpr std::int64_t longest = 1'000'000'000;
    const DWORD limit = nanoseconds < 0
                            ? INFINITE
                            : static_cast<DWORD>(std::min(nanoseconds / 1'000'000 + 1, longest));
    AcquireSRWLockExclusive(&place.lock);
    bool fine = true;
    // Who wakes changes the word first and passes the lock then: no change is missed between the
    // look at the word and the sleep.
    if (word.load() == value) {
        fine = SleepConditionVariableSRW(&place.changed, &place.lock, limit, 0) ||
               GetLastError() == ERROR_TIMEOUT;
    }
    ReleaseSRWLockExclusive(&place.lock);
    return fine;
}

void wakeSleepers(std::atomic<std::uint32_t>& word, int) {
    Place& place = placeOf(&word);
    AcquireSRWLockExclusive(&place.lock);
    ReleaseSRWLockExclusive(&place.lock);
    WakeAllConditionVariable(&place.changed);
}

}  // namespace qvplatform
