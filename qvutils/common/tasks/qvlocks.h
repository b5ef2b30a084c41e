#pragma once
#include <atomic>
#include <mutex>
#include <string>

#include "qvutils/common/platform/qvexport.h"

/// The locks share one face. A thread that holds one may enter it again and must exit it as often.
/// A lock's name is not copied.
class QVCORE_API qvLockBase {
public:
    qvLockBase() = default;
    qvLockBase(const qvLockBase&) = delete;
    qvLockBase& operator=(const qvLockBase&) = delete;
    virtual ~qvLockBase();

    virtual void Enter() = 0;
    /// `msg` tells for what; only the test lock keeps it (the pointer, so it must outlive the hold).
    virtual void Enter(const char* msg);
    virtual void Exit() = 0;
};

/// The operating system's lock: for anything that may be held long.
class QVCORE_API qvCritSection : public qvLockBase {
public:
    explicit qvCritSection(const char* name = "") : name_(name) {}
    using qvLockBase::Enter;
    void Enter() override { mutex_.lock(); }
    void Exit() override { mutex_.unlock(); }
    const char* getName() const { return name_; }

private:
    const char* name_;
    std::recursive_mutex mutex_;
};

/// A spin lock over a word that its owner supplies: 0 is free, else the high 16 bits hold the
/// owning thread's number plus 1 and the low 16 bits how often it has entered. Waiting spins for a
/// moment, then gives the processor away. Exit by a thread that does not hold the lock, and
/// entering more than 65,535 deep, throw qvTaskErr("Bad spin-lock").
class QVCORE_API qvSpinLockI : public qvLockBase {
public:
    /// `word` must be 0 and outlive the lock.
    explicit qvSpinLockI(int& word, const char* name = "") : word_(word), name_(name) {}
    using qvLockBase::Enter;
    void Enter() override;
    void Exit() override;
    /// One attempt: true when the lock is taken or was held by this thread already.
    bool TryEnter();
    const char* getName() const { return name_; }

    /// How many attempts to take any spin lock of the process have failed.
    static long contentions();

private:
    bool reenter(unsigned owner);
    void wait(unsigned taken);

    int& word_;
    const char* name_;
};

/// The same over a word of its own. Only for short holds: it is the cheapest lock when free.
class QVCORE_API qvSpinLock : public qvSpinLockI {
public:
    explicit qvSpinLock(const char* name = "") : qvSpinLockI(ownWord_, name) {}

private:
    int ownWord_ = 0;
};

/// Stands in for a lock around code that two threads must never enter at once: it never waits, a
/// collision ends the program with both parties' messages.
class QVCORE_API qvTestLock : public qvLockBase {
public:
    explicit qvTestLock(const char* name = "") : name_(name) {}
    void Enter() override { Enter(""); }
    void Enter(const char* msg) override;
    void Exit() override;

private:
    const char* name_;
    std::atomic<int> entries_ = 0;
    std::atomic<int> owner_ = -1;
    std::atomic<const char*> message_ = "";
};

/// Holds a lock from its construction to its destruction.
class qvAutoLock {
public:
    explicit qvAutoLock(qvLockBase& lock) : lock_(lock) { lock_.Enter(); }
    qvAutoLock(qvLockBase& lock, const char* msg) : lock_(lock) { lock_.Enter(msg); }
    ~qvAutoLock() { lock_.Exit(); }
    qvAutoLock(const qvAutoLock&) = delete;
    qvAutoLock& operator=(const qvAutoLock&) = delete;

private:
    qvLockBase& lock_;
};
