#include "qvutils/common/platform/format.h"

namespace qvplatform {

int format(char* buffer, std::size_t size, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const int length = vformat(buffer, size, fmt, args);
    va_end(args);
    return length;
}

std::string vformatText(const char* fmt, va_list args) {
    char shortText[512];
    va_list again;
    va_copy(again, args);
    const int length = vformat(shortText, sizeof shortText, fmt, args);
    std::string text;
    if (length >= 0 && length < static_cast<int>(sizeof shortText)) {
        text.assign(shortText, static_cast<std::size_t>(length));
    } else if (length > 0) {
        text.resize(static_cast<std::size_t>(length));
        vformat(text.data(), text.size() + 1, fmt, again);
    }
    va_end(again);
    return text;
}

std::string formatText(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    std::string text = vformatText(fmt, args);
    va_end(args);
    return text;
}

int scan(const char* text, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const int count = vscan(text, fmt, args);
    va_end(args);
    return count;
}

}  // namespace qvplatform
