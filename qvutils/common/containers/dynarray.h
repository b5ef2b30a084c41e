#pragma once
#include <type_traits>
#include <utility>
#include <vector>

#include "qvutils/common/diagnostics/diagnostics.h"

/// A growable array with indices from 0, always checked: an index out of bounds ends the program.
template <class T>
class DynArray {
    static_assert(!std::is_same_v<T, bool>, "use DynArray<char>: elements must be addressable");

public:
    DynArray() = default;
    explicit DynArray(int size) : items_(static_cast<std::size_t>(size)) {}

    int size() const { return static_cast<int>(items_.size()); }
    bool empty() const { return items_.empty(); }
    T& operator[](int index) { return items_[checked(index)]; }
    const T& operator[](int index) const { return items_[checked(index)]; }
    T& back() { return (*this)[size() - 1]; }
    const T& back() const { return (*this)[size() - 1]; }

    void append(const T& value) { items_.push_back(value); }
    void append(T&& value) { items_.push_back(std::move(value)); }
    void insert(int index, const T& value) { items_.insert(place(index), value); }
    void erase(int index) { items_.erase(items_.begin() + checked(index)); }
    void resize(int size) { items_.resize(static_cast<std::size_t>(size)); }
    void reserve(int size) { items_.reserve(static_cast<std::size_t>(size)); }
    void clear() { items_.clear(); }

    auto begin() { return items_.begin(); }
    auto end() { return items_.end(); }
    auto begin() const { return items_.begin(); }
    auto end() const { return items_.end(); }

private:
    int checked(int index) const {
        if (index < 0 || index >= size()) outOfBounds(index);
        return index;
    }
    auto place(int index) {
        if (index != size()) checked(index);
        return items_.begin() + index;
    }
    [[noreturn]] void outOfBounds(int index) const {
        exitfn("Dynamic array index %d out of bounds 0 <= index < %d\n", index, size());
    }

    std::vector<T> items_;
};
