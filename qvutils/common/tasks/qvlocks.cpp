#include "qvutils/common/tasks/qvlocks.h"

#include <algorithm>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/platform/threads.h"
#include "qvutils/common/tasks/qvtaskerr.h"
#include "qvutils/common/tasks/threadid.h"

qvLockBase::~qvLockBase() = default;

void qvLockBase::Enter(const char*) { Enter(); }

namespace {

using Word = std::atomic_ref<int>;

constexpr unsigned countMask = 0xFFFF;
constexpr int ownerShift = 16;

std::atomic<long> failedAttempts = 0;

unsigned myOwner() { return static_cast<unsigned>(qvTaskThreadId() + 1); }

unsigned ownerOf(int word) { return static_cast<unsigned>(word) >> ownerShift; }

bool take(int& word, unsigned owner) {
    int free = 0;
    return Word(word).compare_exchange_strong(free, static_cast<int>(owner << ownerShift | 1),
                                              std::memory_order_acquire,
                                              std::memory_order_relaxed);
}

/// What a thread does between two attempts: the holder is probably about to leave, so first a few
/// pauses, more each time; then other threads get the processor; then the thread sleeps.
void backOff(int attempt) {
    constexpr int spins = 10;
    constexpr int yields = 100;
    if (attempt < spins) {
        for (int i = 0; i < 1 << std::min(attempt, 6); ++i) qvplatform::pauseProcessor();
    } else if (attempt < spins + yields) {
        qvplatform::yieldThread();
    } else {
        qvplatform::sleepMicroseconds(50);
    }
}

}  // namespace

void qvSpinLockI::Enter() {
    const unsigned owner = myOwner();
    if (take(word_, owner) || reenter(owner)) return;
    wait(owner);
}

bool qvSpinLockI::TryEnter() {
    const unsigned owner = myOwner();
    if (take(word_, owner) || reenter(owner)) return true;
    ++failedAttempts;
    return false;
}

/// Only the owner changes the word while the lock is held, so plain loads and stores will do.
bool qvSpinLockI::reenter(unsigned owner) {
    const int word = Word(word_).load(std::memory_order_relaxed);
    if (ownerOf(word) != owner) return false;
    if ((static_cast<unsigned>(word) & countMask) == countMask) throw qvTaskErr("Bad spin-lock");
    Word(word_).store(word + 1, std::memory_order_relaxed);
    return true;
}

void qvSpinLockI::wait(unsigned owner) {
    long failed = 1;
    for (int attempt = 0;; attempt = std::min(attempt + 1, 1000)) {
        // Looking before swapping leaves the holder its cache line.
        if (Word(word_).load(std::memory_order_relaxed) == 0) {
            if (take(word_, owner)) break;
            ++failed;
        }
        backOff(attempt);
    }
    failedAttempts += failed;
}

void qvSpinLockI::Exit() {
    const int word = Word(word_).load(std::memory_order_relaxed);
    if (ownerOf(word) != myOwner()) throw qvTaskErr("Bad spin-lock");
    const bool last = (static_cast<unsigned>(word) & countMask) == 1;
    Word(word_).store(last ? 0 : word - 1, std::memory_order_release);
}

long qvSpinLockI::contentions() { return failedAttempts; }

void qvTestLock::Enter(const char* msg) {
    const int me = qvTaskThreadId();
    if (++entries_ == 1) {
        owner_ = me;
        message_ = msg;
    } else if (owner_ != me) {
        exitfn("Fatal thread collision 1 in %s; LockingThreadId=%d myThreadId=%d lockMsg=%s "
               "myMsg=%s",
               name_, owner_.load(), me, message_.load(), msg);
    }
}

void qvTestLock::Exit() {
    if (owner_ != qvTaskThreadId()) exitfn("Fatal thread collision 2 in %s", name_);
    if (--entries_ < 0) exitfn("Bad spin-lock in %s", name_);
}
