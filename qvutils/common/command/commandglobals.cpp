#include "qvutils/common/command/commandglobals.h"

#include <utility>

namespace {

constexpr std::string_view shownName = "_";

bool isPrivate(const std::string& name) {
    return name[0] == '_';
}

}  // namespace

bool qvCommandGlobals::isReference(const QVCommandElt& element) {
    return element.getObject() && !element.IsCopy();
}

QVCommandElt* qvCommandGlobals::find(std::string_view name) {
    if (byName_.empty()) return nullptr;
    const auto found = byName_.find(name);
    return found == byName_.end() ? nullptr : &found->second;
}

void qvCommandGlobals::set(std::string_view name, const QVCommandElt& element) {
    // Kept while the old variable goes: the new one may refer to what the old one owns.
    const QVCommandElt kept = element;
    remove(name);
    const auto placed = byName_.emplace(std::string(name), kept).first;
    placed->second.setTexts(placed->first.c_str(), "");
    if (!isReference(kept)) return;
    watch(*kept.getObject());
    byObject_.emplace(kept.getObject(), &placed->first);
}

bool qvCommandGlobals::remove(std::string_view name) {
    const auto found = byName_.find(name);
    if (found == byName_.end()) return false;
    const auto [first, last] = byObject_.equal_range(found->second.getObject());
    for (auto entry = first; entry != last; ++entry) {
        if (entry->second != &found->first) continue;
        byObject_.erase(entry);
        break;
    }
    // An object that goes with the variable calls OnObjectDying: by then the tables are in order.
    const auto removed = byName_.extract(found);
    return true;
}

void qvCommandGlobals::clear() {
    byObject_.clear();
    const auto removed = std::exchange(byName_, {});
    hasShown_ = false;
}

void qvCommandGlobals::removeReferences(void* object) {
    for (;;) {
        const auto entry = byObject_.find(object);
        if (entry == byObject_.end()) return;
        remove(std::string(*entry->second));
    }
}

const std::string* qvCommandGlobals::nameOf(const void* object) const {
    const auto [first, last] = byObject_.equal_range(object);
    for (auto entry = first; entry != last; ++entry) {
        if (!isPrivate(*entry->second)) return entry->second;
    }
    return nullptr;
}

void qvCommandGlobals::appendNames(std::vector<std::string>& names) const {
    for (const auto& [name, element] : byName_) {
        if (!isPrivate(name)) names.push_back(name);
    }
}

void qvCommandGlobals::noteShown(const QVCommandElt& shown) {
    const bool isObject = shown.getObject() != nullptr;
    if (isObject) {
        set(shownName, shown);
    } else if (hasShown_) {
        remove(shownName);
    }
    hasShown_ = isObject;
}
