#pragma once
#include <memory>
#include <string_view>
#include <unordered_map>

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
    /// Keys view the names in the nodes. Equal names are possible when a program sets them without
    /// asking, so it is a multimap.
    using NameIndex = std::unordered_multimap<std::string_view, qvProjectNode*>;

    static constexpr int fewChildren = 8;

    void buildIndex();
    NameIndex::iterator entryOf(const qvProjectNode* child);

    List<qvProjectNode*> list_;
    /// Null while there are few children.
    std::unique_ptr<NameIndex> by_name_;
    unsigned next_order_ = 1;
};
