#include "qvutils/ui/project/qvchildnodes.h"

#include <functional>

#include "qvutils/ui/project/qvprojnode.h"

namespace {

/// Names are often numbered, and used in that order: the slots of names that differ in their last
/// character only are neighbours in memory.
std::uint32_t hashOf(std::string_view name) {
    if (name.empty()) return 0;
    const std::size_t hash = std::hash<std::string_view>()(name.substr(0, name.size() - 1));
    return static_cast<std::uint32_t>(hash + static_cast<unsigned char>(name.back()));
}

}  // namespace

void qvChildNodes::append(qvProjectNode* child) {
    child->order_ = next_order_++;
    list_.append(child);
    if (slots_.empty() ? list_.size() > fewChildren : (used_slots_ + 1) * 4 > slots_.size() * 3) {
        rebuildIndex();
    } else if (!slots_.empty()) {
        enter(child);
    }
}

void qvChildNodes::erase(qvProjectNode* child) {
    const int position = positionOf(child);
    if (!position) return;
    list_.erase(position);
    if (!slots_.empty()) leave(child);
    child->order_ = 0;
}

List<qvProjectNode*> qvChildNodes::exchange(List<qvProjectNode*> others) {
    list_.swap(others);
    slots_.clear();
    if (list_.size() > fewChildren) rebuildIndex();
    return others;
}

qvProjectNode* qvChildNodes::find(std::string_view name) const {
    if (!slots_.empty()) return findIndexed(name);
    for (qvProjectNode* child : list_) {
        if (child->name_.view() == name) return child;
    }
    return nullptr;
}

/// Equal names are possible when a program sets them without asking: the first in the list counts.
qvProjectNode* qvChildNodes::findIndexed(std::string_view name) const {
    const std::uint32_t hash = hashOf(name);
    const Slot* first = nullptr;
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t i = hash & mask; slots_[i].order; i = (i + 1) & mask) {
        const Slot& slot = slots_[i];
        if (slot.hash == hash && slot.child && (!first || slot.order < first->order) &&
            slot.name == name) {
            first = &slot;
        }
    }
    return first ? first->child : nullptr;
}

int qvChildNodes::positionOf(const qvProjectNode* child) const {
    int low = 1;
    int high = list_.size();
    while (low < high) {
        const int middle = low + (high - low) / 2;
        if (list_[middle]->order_ < child->order_) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return low == high && list_[low] == child ? low : 0;
}

void qvChildNodes::rename(qvProjectNode* child, const QVString& name) {
    if (!slots_.empty()) leave(child);
    child->name_ = name;
    if (slots_.empty()) return;
    if ((used_slots_ + 1) * 4 > slots_.size() * 3) {
        rebuildIndex();
    } else {
        enter(child);
    }
}

void qvChildNodes::rebuildIndex() {
    std::size_t size = 4 * fewChildren;
    while (size < static_cast<std::size_t>(list_.size()) * 2) size *= 2;
    slots_.assign(size, {});
    used_slots_ = 0;
    for (qvProjectNode* child : list_) enter(child);
}

void qvChildNodes::enter(qvProjectNode* child) {
    const std::string_view name = child->name_.view();
    const std::uint32_t hash = hashOf(name);
    const std::size_t mask = slots_.size() - 1;
    std::size_t i = hash & mask;
    while (slots_[i].child) i = (i + 1) & mask;
    if (!slots_[i].order) ++used_slots_;
    slots_[i] = {name, child, hash, child->order_};
}

void qvChildNodes::leave(const qvProjectNode* child) {
    const std::size_t mask = slots_.size() - 1;
    std::size_t i = hashOf(child->name_.view()) & mask;
    while (slots_[i].child != child) i = (i + 1) & mask;
    slots_[i].child = nullptr;
}
