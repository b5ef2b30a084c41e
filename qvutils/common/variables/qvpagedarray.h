#pragma once
#include <memory>
#include <vector>

#include "qvutils/common/diagnostics/diagnostics.h"

class qvNamedVariable;
struct qvNamedVariableSnapshot;

/// A growable array of pointers, not owned, in pages of fixed size: growing moves no element. An
/// index outside the array ends the program.
template <class T>
class qvPagedArray {
public:
    /// Returns the index of the new element.
    int Add(T* element) {
        if (size_ == static_cast<int>(pages_.size()) * pageSize) {
            pages_.push_back(std::make_unique<T*[]>(pageSize));
        }
        ++size_;
        (*this)[size_ - 1] = element;
        return size_ - 1;
    }
    int Size() const { return size_; }
    void Clear() { Truncate(0); }
    /// Drops the elements from `size` on.
    void Truncate(int size) {
        size_ = size;
        pages_.resize(static_cast<std::size_t>((size + pageSize - 1) / pageSize));
    }

    T*& operator[](int index) { return pages_[page(index)][index % pageSize]; }
    T* operator[](int index) const { return pages_[page(index)][index % pageSize]; }

private:
    static constexpr int pageSize = 256;

    std::size_t page(int index) const {
        if (index < 0 || index >= size_) {
            exitfn("Dynamic array index %d out of bounds 0 <= index < %d\n", index, size_);
        }
        return static_cast<std::size_t>(index / pageSize);
    }

    std::vector<std::unique_ptr<T*[]>> pages_;
    int size_ = 0;
};

using qvNamedVariableArray = qvPagedArray<qvNamedVariable>;
using qvNamedVariableSnapshotArray = qvPagedArray<qvNamedVariableSnapshot>;
