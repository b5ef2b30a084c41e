#pragma once
#include <cstdint>
#include <string_view>

#include "qvutils/common/platform/qvexport.h"

/// A small text buffer that is reused from request to request and follows their size: it is
/// reallocated to exactly what is needed when that does not fit, or is less than a quarter of what
/// was needed lately.
class QVCORE_API LineBuffer {
public:
    LineBuffer() = default;
    LineBuffer(const LineBuffer&) = delete;
    LineBuffer& operator=(const LineBuffer&) = delete;
    LineBuffer(LineBuffer&& other) noexcept { swap(other); }
    LineBuffer& operator=(LineBuffer&& other) noexcept;
    ~LineBuffer();

    /// Room for `need` bytes, or null when there is no memory. What was in it is lost.
    char* request(std::uint32_t need);
    /// Makes room for the text and a NUL and copies it there; posts an error and returns an empty
    /// text when there is no memory.
    const char* keep(std::string_view text);
    void release();

    const char* chars() const { return data_ ? data_ : ""; }
    std::uint32_t capacity() const { return capacity_; }

private:
    void swap(LineBuffer& other) noexcept;

    char* data_ = nullptr;
    std::uint32_t capacity_ = 0;
    std::uint32_t smoothed_ = 0;
};
