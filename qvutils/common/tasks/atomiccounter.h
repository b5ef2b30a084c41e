#pragma once
#include <atomic>
#include <cstdint>

/// A signed 32-bit counter for reference counts: its steps are atomic and order what came before
/// them, so the thread that counts down to 0 sees the work of all others.
class AtomicCounter {
public:
    AtomicCounter(long value = 0) : count_(static_cast<std::int32_t>(value)) {}
    AtomicCounter(const AtomicCounter& other) : AtomicCounter(static_cast<long>(other)) {}
    AtomicCounter& operator=(const AtomicCounter& other) { return *this = static_cast<long>(other); }
    AtomicCounter& operator=(long value) {
        count_.store(static_cast<std::int32_t>(value));
        return *this;
    }

    /// Both return the new value.
    long operator++(int) { return count_.fetch_add(1) + 1; }
    long operator--(int) { return count_.fetch_sub(1) - 1; }
    operator long() const { return count_.load(); }

private:
    std::atomic<std::int32_t> count_;
};
