#pragma once
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

/// Finds what belongs to a name by hash. It refers to the texts of the names, which stay where they
/// are; of several entries of one name it keeps the first.
template <class Value>
class QVNameIndex {
public:
    void clear() { *this = QVNameIndex(); }

    /// False when the name is there already.
    bool add(std::string_view name, const Value& value) {
        if (2 * (used_ + 1) > slots_.size()) grow();
        Slot& slot = slots_[slotOf(name)];
        if (slot.used) return false;
        slot = {name, value, true};
        ++used_;
        return true;
    }

    /// Null when there is none; else it stands until the next name is added.
    const Value* find(std::string_view name) const {
        if (slots_.empty()) return nullptr;
        const Slot& slot = slots_[slotOf(name)];
        return slot.used ? &slot.value : nullptr;
    }

private:
    struct Slot {
        std::string_view name;
        Value value{};
        bool used = false;
    };

    std::size_t slotOf(std::string_view name) const {
        const std::size_t mask = slots_.size() - 1;
        std::size_t at = std::hash<std::string_view>()(name) & mask;
        while (slots_[at].used && slots_[at].name != name) at = (at + 1) & mask;
        return at;
    }
    void grow() {
        std::vector<Slot> old(slots_.empty() ? 16 : 2 * slots_.size());
        old.swap(slots_);
        for (Slot& slot : old) {
            if (slot.used) slots_[slotOf(slot.name)] = std::move(slot);
        }
    }

    std::vector<Slot> slots_;  // a power of two, at most half of them in use
    std::size_t used_ = 0;
};
