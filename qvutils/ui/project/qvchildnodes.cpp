#include "qvutils/ui/project/qvchildnodes.h"

#include "qvutils/ui/project/qvprojnode.h"

void qvChildNodes::append(qvProjectNode* child) {
    child->order_ = next_order_++;
    list_.append(child);
    if (by_name_) {
        by_name_->emplace(child->name_.view(), child);
    } else if (list_.size() > fewChildren) {
        buildIndex();
    }
}

void qvChildNodes::erase(qvProjectNode* child) {
    const int position = positionOf(child);
    if (!position) return;
    list_.erase(position);
    if (by_name_) by_name_->erase(entryOf(child));
    child->order_ = 0;
}

List<qvProjectNode*> qvChildNodes::exchange(List<qvProjectNode*> others) {
    list_.swap(others);
    by_name_.reset();
    if (list_.size() > fewChildren) buildIndex();
    return others;
}

qvProjectNode* qvChildNodes::find(std::string_view name) const {
    if (!by_name_) {
        for (qvProjectNode* child : list_) {
            if (child->name_.view() == name) return child;
        }
        return nullptr;
    }
    qvProjectNode* first = nullptr;
    const auto [begin, end] = by_name_->equal_range(name);
    for (auto entry = begin; entry != end; ++entry) {
        if (!first || entry->second->order_ < first->order_) first = entry->second;
    }
    return first;
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
    if (!by_name_) {
        child->name_ = name;
        return;
    }
    auto entry = by_name_->extract(entryOf(child));
    child->name_ = name;
    entry.key() = child->name_.view();
    by_name_->insert(std::move(entry));
}

void qvChildNodes::buildIndex() {
    by_name_ = std::make_unique<NameIndex>();
    by_name_->reserve(static_cast<std::size_t>(list_.size()));
    for (qvProjectNode* child : list_) by_name_->emplace(child->name_.view(), child);
}

qvChildNodes::NameIndex::iterator qvChildNodes::entryOf(const qvProjectNode* child) {
    auto entry = by_name_->find(child->name_.view());
    while (entry->second != child) ++entry;
    return entry;
}
