#pragma once
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include "qvutils/common/containers/array1d.h"

/// An array with rows from lbd1 to ubd1 of elements from lbd2 to ubd2, in one block, row after row.
/// An index out of bounds ends the program.
template <class T>
class Array2d {
public:
    Array2d() = default;
    Array2d(int lower1, int upper1, int lower2, int upper2) {
        alloc(lower1, upper1, lower2, upper2);
    }
    Array2d(const Array2d& other) { *this = other; }
    Array2d(Array2d&& other) noexcept { swap(other); }
    virtual ~Array2d() = default;

    Array2d& operator=(const Array2d& other);
    Array2d& operator=(Array2d&& other) noexcept {
        swap(other);
        return *this;
    }

    /// The elements survive when both dimensions stay: then only the bounds move. Else they are
    /// new, and those of a plain type are not initialised. A dimension of 0 empties the array.
    void alloc(int lower1, int upper1, int lower2, int upper2);
    void unalloc() { *this = Array2d(); }
    bool alloced() const { return block_ != nullptr; }

    int get_lbd1() const { return lbd1; }
    int get_ubd1() const { return ubd1; }
    int get_lbd2() const { return lbd2; }
    int get_ubd2() const { return ubd2; }
    int get_dim1() const { return dim1; }
    int get_dim2() const { return dim2; }

    /// A row, to be indexed by the second index.
    Array1d<T>& operator[](int index) { return rows_[row(index)]; }
    const Array1d<T>& operator[](int index) const { return rows_[row(index)]; }
    /// A pointer p with the element (i, j) at p[i][j], unchecked.
    operator T**() { return pointers_.empty() ? nullptr : pointers_.data() - lbd1; }

    /// Reads the elements row after row like Array1d::read.
    bool read(FILE* file) { return qvReadNumbers(file, block_.get(), dim1 * dim2); }

    void swap(Array2d& other) noexcept {
        std::swap(lbd1, other.lbd1);
        std::swap(ubd1, other.ubd1);
        std::swap(lbd2, other.lbd2);
        std::swap(ubd2, other.ubd2);
        std::swap(dim1, other.dim1);
        std::swap(dim2, other.dim2);
        std::swap(rows_, other.rows_);
        std::swap(block_, other.block_);
        std::swap(pointers_, other.pointers_);
    }

private:
    static int dimension(int lower, int upper) {
        const std::int64_t dim = std::int64_t{upper} - lower + 1;
        if (dim < 0 || dim > std::numeric_limits<int>::max()) {
            exitfn("error in Array2d<T>::alloc dimension %d not allowed", static_cast<int>(dim));
        }
        return static_cast<int>(dim);
    }
    std::size_t row(int index) const {
        if (index < lbd1 || index > ubd1) {
            exitfn("error in Array2d<T>::operator[]. Index %d out of bounds (%d,%d)", index, lbd1,
                   ubd1);
        }
        return static_cast<std::size_t>(std::int64_t{index} - lbd1);
    }
    std::size_t total() const { return static_cast<std::size_t>(dim1) * dim2; }

    int lbd1 = 0;
    int ubd1 = -1;
    int lbd2 = 0;
    int ubd2 = -1;
    int dim1 = 0;
    int dim2 = 0;
    std::vector<Array1d<T>> rows_;  // views of the block
    std::unique_ptr<T[]> block_;
    std::vector<T*> pointers_;
};

template <class T>
Array2d<T>& Array2d<T>::operator=(const Array2d& other) {
    if (this == &other) return *this;
    alloc(other.lbd1, other.ubd1, other.lbd2, other.ubd2);
    std::copy(other.block_.get(), other.block_.get() + total(), block_.get());
    return *this;
}

template <class T>
void Array2d<T>::alloc(int lower1, int upper1, int lower2, int upper2) {
    const int rows = dimension(lower1, upper1);
    const int columns = dimension(lower2, upper2);
    if (rows == 0 || columns == 0) return unalloc();
    if (!block_ || rows != dim1 || columns != dim2) {
        unalloc();
        block_.reset(new T[static_cast<std::size_t>(rows) * columns]);
        rows_.resize(rows);
        pointers_.resize(rows);
    }
    lbd1 = lower1;
    ubd1 = upper1;
    lbd2 = lower2;
    ubd2 = upper2;
    dim1 = rows;
    dim2 = columns;
    for (int i = 0; i < rows; ++i) {
        rows_[i].alloc(lower2, upper2, block_.get() + static_cast<std::size_t>(i) * columns);
        pointers_[i] = rows_[i];
    }
}
