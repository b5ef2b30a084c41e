#pragma once
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "qvutils/common/containers/list.h"
#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/text/qvstring.h"

class qvProjectNode;

/// The children of a project node in insertion order. They are found by name and by position in
/// next to constant time, however many there are. Does not own them: its node does.
class QVCORE_API qvChildNodes {
public:
    List<qvProjectNode*>& list() { return list_; }
    const List<qvProjectNode*>& list() const { return list_; }
    int size() const { return list_.size(); }

    void append(qvProjectNode* child);
    void erase(qvProjectNode* child);
    /// Puts other children in their place, in this order; returns those that were here.
    List<qvProjectNode*> exchange(List<qvProjectNode*> others);

    /// The first child of that name; null when there is none.
    qvProjectNode* find(std::string_view name) const;
    /// The position of a child; 0 when it is not here.
    int positionOf(const qvProjectNode* child) const;

    /// Changes the name of a child.
    void rename(qvProjectNode* child, const QVString& name);

private:
    /// A hash table in one piece, as a look-up among many children should touch little memory:
    /// a slot is found by the hash of the name, or one of those after it.
    struct Slot {
        std::string_view name;           ///< the characters are the child's own
        qvProjectNode* child = nullptr;  ///< null in a slot that is free (again)
        std::uint32_t hash = 0;
        unsigned order = 0;  ///< of the child in the list; 0 in a slot that was never used
    };
    static constexpr int fewChildren = 8;

    void rebuildIndex();
    void enter(qvProjectNode* child);
    void leave(const qvProjectNode* child);
    qvProjectNode* findIndexed(std::string_view name) const;

    List<qvProjectNode*> list_;
    /// Empty while there are few children; else a power of two.
    std::vector<Slot> slots_;
    std::size_t used_slots_ = 0;  ///< that are or were in use
    unsigned next_order_ = 1;
};
