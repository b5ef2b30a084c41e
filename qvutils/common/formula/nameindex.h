#pragma once
#include <cstdint>
#include <string_view>
#include <vector>

#include "qvutils/common/platform/qvexport.h"

/// Finds the object of a name by hash. It refers to the texts of the names, which stay where they
/// are; of several objects of one name it finds the first one added.
class QVCORE_API QVNameIndex {
public:
    void clear();
    /// False when the name is there already.
    bool add(std::string_view name, const void* object);
    /// Null when there is none.
    const void* find(std::string_view name) const;

private:
    struct Slot {
        std::uint64_t hash = 0;
        std::string_view name;
        const void* object = nullptr;
    };
    const Slot& slotOf(std::string_view name, std::uint64_t hash) const;
    void grow();

    std::vector<Slot> slots_;  // a power of two, at most half of them in use
    std::size_t used_ = 0;
};
