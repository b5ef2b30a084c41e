#include "qvutils/common/blocks/blockscan.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace qvblocks {
namespace {

constexpr std::size_t longestName = 255;

bool isSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

std::string_view skipSpace(std::string_view text) {
    while (!text.empty() && isSpace(text.front())) {
        text.remove_prefix(1);
    }
    return text;
}

/// Whether the text begins with a word of letters, whatever their case.
bool beginsWithWord(std::string_view text, std::string_view word) {
    if (text.size() < word.size()) {
        return false;
    }
    for (std::size_t i = 0; i < word.size(); ++i) {
        if ((text[i] | 0x20) != word[i]) {
            return false;
        }
    }
    return text.size() == word.size() || isSpace(text[word.size()]);
}

bool takeNumber(std::string_view& text, int& value) {
    text = skipSpace(text);
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') {
        text.remove_prefix(1);
    }
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc()) {
        return false;
    }
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return true;
}

bool takeChar(std::string_view& text, char c) {
    if (text.empty() || text.front() != c) {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

void parseSignature(std::string_view signature, HeaderFields& fields) {
    fields.type = signature.substr(0, signature.find('('));
    signature.remove_prefix(fields.type.size());
    int number = 0;
    if (fields.type.empty()) {
        return;
    }
    if (takeChar(signature, '(') && takeNumber(signature, number)) {
        fields.major = number;
        if (takeChar(signature, '.') && takeNumber(signature, number)) {
            fields.minor = number;
        }
    }
}

}  // namespace

Keyword keywordOf(std::string_view line) {
    line = skipSpace(line);
    if (line.size() < 3) {
        return Keyword::none;
    }
    switch (line[0] | 0x20) {
        case 'b':
            return beginsWithWord(line, "begin") ? Keyword::begin : Keyword::none;
        case 'e':
            return beginsWithWord(line, "end") ? Keyword::end : Keyword::none;
        default:
            return Keyword::none;
    }
}

std::string_view lineAt(std::string_view text, std::size_t from) {
    if (from >= text.size()) {
        return {};
    }
    const char* start = text.data() + from;
    const std::size_t left = text.size() - from;
    const void* newline = std::memchr(start, '\n', left);
    const char* end = newline ? static_cast<const char*>(newline) + 1 : start + left;
    return {start, static_cast<std::size_t>(end - start)};
}

BlockExtent scanBlock(std::string_view text, std::size_t from, int maxDepth,
                      std::vector<BlockSpan>& nested) {
    BlockExtent extent;
    std::string_view line = lineAt(text, from);
    if (keywordOf(line) != Keyword::begin) {
        return extent;
    }
    extent.bodyStart = extent.bodyEnd = extent.end = from + line.size();
    std::vector<std::size_t> open;  // the nested blocks without an end so far
    const auto offset = [](std::size_t at) { return static_cast<std::uint32_t>(at); };
    for (;;) {
        line = lineAt(text, extent.end);
        if (line.empty()) {
            extent.status = Extent::noEnd;
            return extent;
        }
        extent.bodyEnd = extent.end;
        extent.end += line.size();
        switch (keywordOf(line)) {
            case Keyword::begin:
                if (static_cast<int>(open.size()) + 2 > maxDepth) {
                    extent.status = Extent::tooDeep;
                    return extent;
                }
                open.push_back(nested.size());
                nested.push_back(
                    {offset(extent.end - skipSpace(line).size()), offset(extent.end), 0, 0});
                break;
            case Keyword::end:
                if (open.empty()) {
                    extent.status = Extent::whole;
                    return extent;
                }
                nested[open.back()].bodyEnd = offset(extent.bodyEnd);
                nested[open.back()].end = offset(extent.end);
                open.pop_back();
                break;
            case Keyword::none:
                break;
        }
    }
}

const BlockSpan* BlockIndex::find(std::uint32_t keyword, std::uint32_t& last) const {
    for (std::uint32_t i = last; i < spans_.size() && i < last + 2; ++i) {
        if (spans_[i].keyword == keyword) {
            last = i;
            return &spans_[i];
        }
    }
    const auto found = std::lower_bound(
        spans_.begin(), spans_.end(), keyword,
        [](const BlockSpan& span, std::uint32_t wanted) { return span.keyword < wanted; });
    if (found == spans_.end() || found->keyword != keyword) {
        return nullptr;
    }
    last = static_cast<std::uint32_t>(found - spans_.begin());
    return &*found;
}

HeaderFields parseHeaderLine(std::string_view line) {
    HeaderFields fields;
    std::string_view text = skipSpace(line.substr(0, line.find_last_not_of("\r\n") + 1));
    while (!text.empty() && !isSpace(text.front())) {
        text.remove_prefix(1);
    }
    text = skipSpace(text);
    const std::size_t close = text.find('>');
    if (text.empty() || text.front() != '<' || close <= 1) {
        fields.rest = text;
        return fields;
    }
    fields.hasSignature = true;
    parseSignature(text.substr(1, close == text.npos ? close : close - 1), fields);
    text = close == text.npos ? std::string_view() : text.substr(close + 1);
    fields.rest = text;
    text = skipSpace(text);
    if (takeChar(text, '"')) {
        const std::size_t quote = text.find('"');
        fields.name = text.substr(0, quote).substr(0, longestName);
        fields.rest = quote == text.npos ? std::string_view() : text.substr(quote + 1);
    }
    return fields;
}

std::string_view commentIn(std::string_view line) {
    const std::size_t at = line.find("//");
    return at == line.npos ? std::string_view() : line.substr(at);
}

}  // namespace qvblocks
