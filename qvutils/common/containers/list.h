#pragma once
#include <algorithm>
#include <cmath>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

#include "qvutils/common/diagnostics/diagnostics.h"

template <class T>
struct List_element {
    T value;
    List_element* next = nullptr;
    List_element* prev = nullptr;
};

/// A doubly linked list. Nodes stay where they are until their element is removed.
template <class T>
class ListBase {
public:
    using Node = List_element<T>;
    template <class Value>
    class Iterator;
    using iterator = Iterator<T>;
    using const_iterator = Iterator<const T>;

    ListBase() = default;
    ListBase(const ListBase& other) { copyFrom(other); }
    ListBase(ListBase&& other) noexcept { swapWith(other); }
    ListBase& operator=(const ListBase& other) {
        ListBase copy(other);
        swapWith(copy);
        return *this;
    }
    ListBase& operator=(ListBase&& other) noexcept {
        swapWith(other);
        return *this;
    }
    virtual ~ListBase() { freeNodes(); }

    void append_base(const T& value) { link(new Node{value}, last_, nullptr); }
    int size() const { return count_; }
    bool empty() const { return count_ == 0; }
    /// The first and the last value; an empty list has none and ends the program.
    T& first_cpt() { return existing(first_)->value; }
    const T& first_cpt() const { return existing(first_)->value; }
    T& last_cpt() { return existing(last_)->value; }
    const T& last_cpt() const { return existing(last_)->value; }
    Node* first_node() const { return first_; }
    Node* last_node() const { return last_; }

    void move_before(Node* node, Node* target) {
        if (node == target) return;
        unlink(node);
        link(node, target->prev, target);
    }
    void move_after(Node* node, Node* target) {
        if (node == target) return;
        unlink(node);
        link(node, target, target->next);
    }
    void reverse_base() {
        for (Node* node = first_; node; node = node->prev) std::swap(node->next, node->prev);
        std::swap(first_, last_);
    }

    iterator begin() { return iterator(first_); }
    iterator end() { return iterator(nullptr); }
    const_iterator begin() const { return const_iterator(first_); }
    const_iterator end() const { return const_iterator(nullptr); }

protected:
    void link(Node* node, Node* before, Node* after) {
        node->prev = before;
        node->next = after;
        (before ? before->next : first_) = node;
        (after ? after->prev : last_) = node;
        ++count_;
    }
    void unlink(Node* node) {
        (node->prev ? node->prev->next : first_) = node->next;
        (node->next ? node->next->prev : last_) = node->prev;
        --count_;
    }
    void freeNodes() {
        while (first_) delete std::exchange(first_, first_->next);
        last_ = nullptr;
        count_ = 0;
    }
    void swapWith(ListBase& other) noexcept {
        std::swap(first_, other.first_);
        std::swap(last_, other.last_);
        std::swap(count_, other.count_);
    }

private:
    void copyFrom(const ListBase& other) {
        for (const T& value : other) append_base(value);
    }
    static Node* existing(Node* node) {
        if (!node) exitfn("index error in list<T>");
        return node;
    }

    Node* first_ = nullptr;
    Node* last_ = nullptr;
    int count_ = 0;
};

template <class T>
template <class Value>
class ListBase<T>::Iterator {
public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = T;
    using difference_type = std::ptrdiff_t;
    using pointer = Value*;
    using reference = Value&;

    explicit Iterator(Node* node = nullptr) : node_(node) {}
    Value& operator*() const { return node_->value; }
    Value* operator->() const { return &node_->value; }
    Iterator& operator++() {
        node_ = node_->next;
        return *this;
    }
    Iterator operator++(int) { return Iterator(std::exchange(node_, node_->next)); }
    bool operator==(const Iterator&) const = default;
    Node* node() const { return node_; }

private:
    Node* node_;
};

/// A list with positions from 1 and an index of its nodes for direct access. A position out of
/// bounds ends the program.
///
/// An erased element leaves a gap in the index, and the gaps are closed many at a time: closing
/// each at once would make the removal of all n elements cost n*n/2 moves. A position is found past
/// the gaps by bisection.
template <class T>
class List : public ListBase<T> {
    using Base = ListBase<T>;

public:
    using Node = List_element<T>;

    List() = default;
    List(const List& other) : Base(other) { reindex(); }
    List(List&& other) noexcept { swap(other); }
    List& operator=(const List& other) {
        List copy(other);
        swap(copy);
        return *this;
    }
    List& operator=(List&& other) noexcept {
        swap(other);
        return *this;
    }

    void append(const T& value) {
        Base::append_base(value);
        if (slots_ == capacity_) {
            reindex();
        } else {
            index_[++slots_] = Base::last_node();
        }
    }
    /// The new element gets position `pos`, from 1 to size() + 1.
    void insert(int pos, const T& value);
    void erase(int pos);
    /// Removes the element in this node of the list; finding its position takes a walk of the index.
    void erase(Node* node) { eraseSlot(slotOf(node)); }
    T& operator[](int pos) { return nodeAt(pos)->value; }
    const T& operator[](int pos) const { return nodeAt(pos)->value; }
    /// Afterwards the element stands at position `to`. False when a position does not exist.
    bool move(int from, int to);
    void reverse() {
        closeGaps();
        Base::reverse_base();
        std::reverse(index_.get() + (slots_ ? 1 : 0), index_.get() + slots_ + (slots_ ? 1 : 0));
    }
    void unalloc() {
        Base::freeNodes();
        index_.reset();
        gaps_.clear();
        capacity_ = slots_ = 0;
    }
    /// The node at a position; null when there is none.
    Node* get_ptr(int pos) const { return exists(pos) ? index_[slotAt(pos)] : nullptr; }
    /// Completes the index; every public operation leaves it complete.
    void reindex();
    int capacity() const { return capacity_; }

    void swap(List& other) noexcept {
        Base::swapWith(other);
        std::swap(index_, other.index_);
        std::swap(capacity_, other.capacity_);
        std::swap(slots_, other.slots_);
        std::swap(gaps_, other.gaps_);
    }

private:
    // These would leave the index behind.
    using Base::append_base;
    using Base::move_after;
    using Base::move_before;
    using Base::reverse_base;

    bool exists(int pos) const { return pos >= 1 && pos <= Base::size(); }
    Node* nodeAt(int pos) const {
        if (!exists(pos)) exitfn("code error in List::operator[] - index %d out of bounds", pos);
        Node* node = index_[slotAt(pos)];
        if (!node) exitfn("index error in list<T>");
        return node;
    }
    int slotAt(int pos) const;
    int slotOf(const Node* node) const;
    void eraseSlot(int slot);
    void closeGaps();

    std::unique_ptr<Node*[]> index_;  // slots 1 to slots_ are in use; slot 0 never is
    int capacity_ = 0;
    int slots_ = 0;
    std::vector<int> gaps_;  // slots without an element, ascending; never the last slot
};

template <class T>
void List<T>::insert(int pos, const T& value) {
    if (pos < 1 || pos > Base::size() + 1) {
        exitfn("code error in List::insert - index %d out of bounds", pos);
    }
    if (pos > Base::size()) return append(value);
    closeGaps();
    Node* after = index_[pos];
    Base::link(new Node{value}, after->prev, after);
    if (slots_ < capacity_) {
        std::copy_backward(&index_[pos], &index_[slots_] + 1, &index_[slots_] + 2);
        index_[pos] = after->prev;
        ++slots_;
    } else {
        slots_ = pos - 1;
    }
    reindex();
}

template <class T>
void List<T>::erase(int pos) {
    if (!exists(pos)) exitfn("error in List::erase: index %d out of bounds", pos);
    eraseSlot(slotAt(pos));
}

template <class T>
void List<T>::eraseSlot(int slot) {
    Node* node = std::exchange(index_[slot], nullptr);
    Base::unlink(node);
    if (slot == slots_) {
        --slots_;
        while (!gaps_.empty() && gaps_.back() == slots_) {
            gaps_.pop_back();
            --slots_;
        }
    } else {
        gaps_.insert(std::lower_bound(gaps_.begin(), gaps_.end(), slot), slot);
        const auto most = std::max(64.0, std::sqrt(static_cast<double>(slots_)));
        if (static_cast<double>(gaps_.size()) > most) closeGaps();
    }
    delete node;
}

template <class T>
bool List<T>::move(int from, int to) {
    if (!exists(from) || !exists(to)) return false;
    if (from == to) return true;
    closeGaps();
    Node** slot = index_.get();
    if (from < to) {
        Base::move_after(slot[from], slot[to]);
        std::rotate(slot + from, slot + from + 1, slot + to + 1);
    } else {
        Base::move_before(slot[from], slot[to]);
        std::rotate(slot + to, slot + from, slot + from + 1);
    }
    return true;
}

template <class T>
void List<T>::reindex() {
    closeGaps();
    const int count = Base::size();
    if (capacity_ < count) {
        const int capacity = count + count / 10 + 10;
        std::unique_ptr<Node*[]> index(new Node*[capacity + 1]);
        index[0] = nullptr;
        std::copy(index_.get() + (slots_ ? 1 : 0), index_.get() + slots_ + (slots_ ? 1 : 0),
                  index.get() + 1);
        index_ = std::move(index);
        capacity_ = capacity;
    }
    Node* node = slots_ ? index_[slots_]->next : Base::first_node();
    for (; slots_ < count; node = node->next) index_[++slots_] = node;
}

/// The slot at position `pos`: the gaps before it move it on. Gap number i (from 0) lies before it
/// when the slot of the gap, less the i gaps before that, is at most `pos`.
template <class T>
int List<T>::slotAt(int pos) const {
    if (gaps_.empty()) return pos;
    int low = 0;
    int high = static_cast<int>(gaps_.size());
    while (low < high) {
        const int middle = (low + high) / 2;
        if (gaps_[middle] - middle <= pos) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return pos + low;
}

template <class T>
int List<T>::slotOf(const Node* node) const {
    for (int slot = 1; node && slot <= slots_; ++slot) {
        if (index_[slot] == node) return slot;
    }
    exitfn("index error in list<T>");
}

template <class T>
void List<T>::closeGaps() {
    if (gaps_.empty()) return;
    int write = gaps_.front();
    for (std::size_t i = 0; i < gaps_.size(); ++i) {
        const int from = gaps_[i] + 1;
        const int to = i + 1 < gaps_.size() ? gaps_[i + 1] : slots_ + 1;
        std::copy(&index_[0] + from, &index_[0] + to, &index_[0] + write);
        write += to - from;
    }
    slots_ = write - 1;
    gaps_.clear();
}
