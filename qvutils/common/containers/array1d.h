#pragma once
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <utility>

#include "qvutils/common/containers/numberfile.h"
#include "qvutils/common/diagnostics/diagnostics.h"

/// An array with indices from lbd to ubd, always checked: an index out of bounds ends the program.
/// It owns its elements, or is a view of storage that somebody else owns.
template <class T>
class Array1d {
public:
    Array1d() = default;
    Array1d(int lower, int upper) { alloc(lower, upper); }
    Array1d(const Array1d& other) { *this = other; }
    Array1d(Array1d&& other) noexcept { swap(other); }
    virtual ~Array1d() = default;

    /// A copy of an array that owns its elements owns copies of them; a copy of a view is another
    /// view of the same storage.
    Array1d& operator=(const Array1d& other);
    Array1d& operator=(Array1d&& other) noexcept {
        swap(other);
        return *this;
    }

    /// The elements survive when the array owns as many already: then only the bounds move. Else
    /// they are new, and those of a plain type are not initialised. Dimension 0 empties the array.
    void alloc(int lower, int upper);
    /// Makes the array a view of `storage`, the address of the element at `lower`.
    void alloc(int lower, int upper, T* storage);
    void unalloc();
    bool alloced() const { return data_ != nullptr; }

    int get_lbd() const { return lbd; }
    int get_ubd() const { return ubd; }
    int get_dim() const { return static_cast<int>(dimension(lbd, ubd)); }

    T& operator[](int index) { return data_[offset(index)]; }
    const T& operator[](int index) const { return data_[offset(index)]; }
    /// A pointer p with the element i at p[i], unchecked.
    operator T*() { return biased(); }
    operator const T*() const { return biased(); }

    /// Reads one number after the other, separated by blanks and line ends, into the elements in
    /// order. False when the text ends too soon or is no number.
    bool read(FILE* file) { return qvReadNumbers(file, data_, get_dim()); }

    T* begin() { return data_; }
    T* end() { return data_ + get_dim(); }
    const T* begin() const { return data_; }
    const T* end() const { return data_ + get_dim(); }

    void swap(Array1d& other) noexcept {
        std::swap(lbd, other.lbd);
        std::swap(ubd, other.ubd);
        std::swap(owned_, other.owned_);
        std::swap(data_, other.data_);
    }

private:
    static std::int64_t dimension(int lower, int upper) {
        return std::int64_t{upper} - lower + 1;
    }
    static void checkDimension(int lower, int upper) {
        const std::int64_t dim = dimension(lower, upper);
        if (dim < 0 || dim > std::numeric_limits<int>::max()) {
            exitfn("error in Array1d<T>::alloc.dimension %d not allowed \n",
                   static_cast<int>(dim));
        }
    }
    std::ptrdiff_t offset(int index) const {
        if (index < lbd || index > ubd) {
            exitfn("error in Array1d<T>::operator[]. Index %d out of bounds (%d,%d)", index, lbd,
                   ubd);
        }
        return std::ptrdiff_t{index} - lbd;
    }
    T* biased() const { return data_ ? data_ - lbd : nullptr; }

    int lbd = 0;
    int ubd = -1;
    std::unique_ptr<T[]> owned_;
    T* data_ = nullptr;  // the element at lbd
};

template <class T>
Array1d<T>& Array1d<T>::operator=(const Array1d& other) {
    if (this == &other) return *this;
    if (other.data_ && !other.owned_) {
        alloc(other.lbd, other.ubd, other.data_);
    } else {
        alloc(other.lbd, other.ubd);
        std::copy(other.begin(), other.end(), data_);
    }
    return *this;
}

template <class T>
void Array1d<T>::alloc(int lower, int upper) {
    checkDimension(lower, upper);
    const std::int64_t dim = dimension(lower, upper);
    if (dim == 0) return unalloc();
    if (!owned_ || dim != get_dim()) {
        owned_.reset();
        owned_.reset(new T[static_cast<std::size_t>(dim)]);
        data_ = owned_.get();
    }
    lbd = lower;
    ubd = upper;
}

template <class T>
void Array1d<T>::alloc(int lower, int upper, T* storage) {
    checkDimension(lower, upper);
    unalloc();
    if (dimension(lower, upper) == 0) return;
    data_ = storage;
    lbd = lower;
    ubd = upper;
}

template <class T>
void Array1d<T>::unalloc() {
    owned_.reset();
    data_ = nullptr;
    lbd = 0;
    ubd = -1;
}
