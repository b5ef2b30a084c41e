#include "qvutils/common/blocks/linebuffer.h"

#include <cstdlib>
#include <cstring>
#include <utility>

#include "qvutils/common/error/qverror.h"

LineBuffer& LineBuffer::operator=(LineBuffer&& other) noexcept {
    swap(other);
    return *this;
}

LineBuffer::~LineBuffer() {
    std::free(data_);
}

char* LineBuffer::request(std::uint32_t need) {
    if (need > capacity_ || need < smoothed_ / 4) {
        // The old content is of no use: freeing first keeps the allocator from copying it.
        std::free(data_);
        data_ = static_cast<char*>(std::malloc(need ? need : 1));
        capacity_ = data_ ? need : 0;
    }
    smoothed_ = static_cast<std::uint32_t>((7 * std::uint64_t{smoothed_} + need) / 8);
    return data_;
}

const char* LineBuffer::keep(std::string_view text) {
    char* data =
        text.size() < UINT32_MAX ? request(static_cast<std::uint32_t>(text.size()) + 1) : nullptr;
    if (!data) {
        qverr().set("not enough memory for a line of text\n");
        return "";
    }
    if (!text.empty()) {
        std::memcpy(data, text.data(), text.size());
    }
    data[text.size()] = '\0';
    return data;
}

void LineBuffer::release() {
    if (data_) {
        std::free(data_);
        data_ = nullptr;
        capacity_ = 0;
        smoothed_ = static_cast<std::uint32_t>(7 * std::uint64_t{smoothed_} / 8);
    }
}

void LineBuffer::swap(LineBuffer& other) noexcept {
    std::swap(data_, other.data_);
    std::swap(capacity_, other.capacity_);
    std::swap(smoothed_, other.smoothed_);
}
