#pragma once
#include <memory>
#include <string_view>
#include <unordered_map>

#include "qvutils/common/containers/list.h"
#include "qvutils/common/platform/qvexport.h"

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
    void clear();
    /// Empties the list and returns what was in it.
    List<qvProjectNode*> release();

    /// The first child of that name; null when there is none.
    qvProjectNode* find(std::string_view name) const;
    /// The position of a child; 0 when it is not here.
    int positionOf(const qvProjectNode* child) const;

    /// To be called around a change of a child's name.
    void beforeRename(qvProjectNode* child);
    void afterRename(qvProjectNode* child);

private:
    /// Keys view the names in the nodes. Equal names are possible when a program sets them without
    /// asking, so it is a multimap.
    using NameIndex = std::unordered_multimap<std::string_view, qvProjectNode*>;

    void buildIndex();
    NameIndex::iterator entryOf(const qvProjectNode* child);

    List<qvProjectNode*> list_;
    /// Null while there are few children.
    std::unique_ptr<NameIndex> by_name_;
    NameIndex::node_type renamed_;
    unsigned next_order_ = 1;
};
