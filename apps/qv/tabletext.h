#pragma once
#include <cstddef>
#include <string>
#include <string_view>

/// Standard output in large pieces.
class TableOutput {
public:
    TableOutput() = default;
    TableOutput(const TableOutput&) = delete;
    TableOutput& operator=(const TableOutput&) = delete;
    ~TableOutput() { flush(); }

    TableOutput& operator<<(std::string_view text) {
        buffer_ += text;
        if (buffer_.size() > pieceSize) flush();
        return *this;
    }

private:
    static constexpr std::size_t pieceSize = 1 << 16;

    void flush();

    std::string buffer_;
};

/// Control characters become blanks, so that a line of the table stays a line.
std::string oneLine(std::string text);
/// Text as a field of comma-separated values, quoted where it has to be.
std::string csvField(const std::string& text);
/// Text of one line as JSON writes it.
std::string jsonString(const std::string& text);
