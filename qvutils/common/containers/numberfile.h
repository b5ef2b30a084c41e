#pragma once
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <string>
#include <system_error>

#include "qvutils/common/platform/qvexport.h"

/// Reads the next run of characters that are neither blank nor line end; false at the end of the
/// file. Texts far longer than any number are not numbers and are cut.
QVCORE_API bool qvReadWord(FILE* file, std::string& word);

/// Fills `values` with numbers from a text file, the same under every locale.
template <class T>
bool qvReadNumbers(FILE* file, T* values, std::int64_t count) {
    std::string word;
    for (std::int64_t i = 0; i < count; ++i) {
        if (!qvReadWord(file, word)) return false;
        const char* begin = word.data() + (word.size() > 1 && word[0] == '+' && word[1] != '-');
        const char* end = word.data() + word.size();
        const auto [stop, error] = std::from_chars(begin, end, values[i]);
        if (error != std::errc() || stop != end) return false;
    }
    return true;
}
