#include "qvutils/common/variables/nametable.h"

#include <cstring>
#include <functional>
#include <utility>

qvNameTable::Slot::Slot(std::string_view name, std::uint32_t hash, qvNamedVariable* variable)
    : variable(variable), hash(hash), length(static_cast<std::uint32_t>(name.size())) {
    if (length <= longestInside) {
        std::memcpy(inside, name.data(), length);
    } else {
        outside = name.data();
    }
}

bool qvNameTable::Slot::has(std::string_view name) const {
    return std::string_view(length <= longestInside ? inside : outside, length) == name;
}

std::uint32_t qvNameTable::hashOf(std::string_view name) {
    return static_cast<std::uint32_t>(std::hash<std::string_view>()(name));
}

/// Where the name is, or else the free slot where it would go.
std::size_t qvNameTable::place(std::string_view name, std::uint32_t hash) const {
    std::size_t i = hash & (slots_.size() - 1);
    for (; slots_[i].variable; i = next(i)) {
        if (slots_[i].hash == hash && slots_[i].has(name)) break;
    }
    return i;
}

qvNamedVariable* qvNameTable::find(std::string_view name) const {
    return used_ ? slots_[place(name, hashOf(name))].variable : nullptr;
}

void qvNameTable::add(std::string_view name, qvNamedVariable* variable) {
    if (3 * (used_ + 1) > 2 * slots_.size()) grow();
    const std::uint32_t hash = hashOf(name);
    slots_[place(name, hash)] = Slot(name, hash, variable);
    ++used_;
}

void qvNameTable::remove(std::string_view name) {
    if (!used_) return;
    std::size_t hole = place(name, hashOf(name));
    if (!slots_[hole].variable) return;
    --used_;
    // What was put off by the one that goes moves up, so that no search ends too early.
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t i = next(hole); slots_[i].variable; i = next(i)) {
        if (((i - home(slots_[i])) & mask) < ((i - hole) & mask)) continue;
        slots_[hole] = slots_[i];
        hole = i;
    }
    slots_[hole] = {};
}

void qvNameTable::grow() {
    std::vector<Slot> old(slots_.empty() ? 8 : 2 * slots_.size());
    std::swap(old, slots_);
    for (const Slot& slot : old) {
        if (!slot.variable) continue;
        std::size_t i = home(slot);
        while (slots_[i].variable) i = next(i);
        slots_[i] = slot;
    }
}
