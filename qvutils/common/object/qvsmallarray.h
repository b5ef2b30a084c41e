#pragma once
#include <array>
#include <cstddef>
#include <vector>

/// A growable array whose first N elements need no allocation.
template <class T, std::size_t N>
class qvSmallArray {
public:
    std::size_t size() const { return size_; }
    const T& operator[](std::size_t i) const { return i < N ? near_[i] : far_[i - N]; }
    /// Appends an element that has its default value.
    T& append() { return size_++ < N ? near_[size_ - 1] : far_.emplace_back(); }
    /// Forgets the elements; they keep what they hold.
    void clear() {
        size_ = 0;
        far_.clear();
    }

private:
    std::size_t size_ = 0;
    std::array<T, N> near_;
    std::vector<T> far_;
};
