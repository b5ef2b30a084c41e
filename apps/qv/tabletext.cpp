#include "apps/qv/tabletext.h"

#include <cstdio>

void TableOutput::flush() {
    std::fwrite(buffer_.data(), 1, buffer_.size(), stdout);
    buffer_.clear();
}

std::string oneLine(std::string text) {
    for (char& c : text)
        if (static_cast<unsigned char>(c) < ' ') c = ' ';
    return text;
}

std::string csvField(const std::string& text) {
    if (text.find_first_of(",\"") == std::string::npos) return text;
    std::string quoted = "\"";
    for (char c : text) {
        if (c == '"') quoted += '"';
        quoted += c;
    }
    return quoted + '"';
}

std::string jsonString(const std::string& text) {
    std::string quoted = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\') quoted += '\\';
        quoted += c;
    }
    return quoted + '"';
}
