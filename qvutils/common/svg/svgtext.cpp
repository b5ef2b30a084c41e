#include <cstdint>

#include "qvutils/common/svg/svgdocument.h"

namespace {

constexpr char32_t replacement = 0xFFFD;

// Decodes one character of UTF-8 and moves past it. A byte that begins none is passed alone.
char32_t nextCharacter(std::string_view text, std::size_t& at) {
    const auto lead = static_cast<unsigned char>(text[at++]);
    if (lead < 0x80) return lead;
    const int following = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
    if (lead < 0xC2 || lead > 0xF4 || at + static_cast<std::size_t>(following) > text.size()) {
        return replacement;
    }
    char32_t character = lead & (0x3Fu >> following);
    for (int i = 0; i < following; ++i) {
        const auto byte = static_cast<unsigned char>(text[at + static_cast<std::size_t>(i)]);
        if ((byte & 0xC0) != 0x80) return replacement;
        character = character << 6 | (byte & 0x3Fu);
    }
    constexpr char32_t least[] = {0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = character >= 0xD800 && character < 0xE000;
    if (character < least[following] || character > 0x10FFFF || isSurrogate) return replacement;
    at += static_cast<std::size_t>(following);
    return character;
}

bool isAllowedInXml(char32_t c) {
    return c >= 0x20 ? c != 0x7F && c != 0xFFFE && c != 0xFFFF : c == '\t' || c == '\n';
}

// Thousandths of the font's size for the characters from blank to tilde of the usual sans-serif
// typeface.
constexpr std::uint16_t widths[] = {
    278,  278, 355, 556, 556, 889, 667, 191, 333, 333, 389, 584, 278, 333, 278, 278,  //
    556,  556, 556, 556, 556, 556, 556, 556, 556, 556, 278, 278, 584, 584, 584, 556,  //
    1015, 667, 667, 722, 722, 667, 611, 778, 722, 278, 500, 667, 556, 833, 722, 778,  //
    667,  778, 722, 667, 611, 722, 667, 944, 667, 667, 611, 278, 278, 278, 469, 556,  //
    333,  556, 556, 500, 556, 556, 278, 556, 556, 222, 222, 500, 222, 833, 556, 556,  //
    556,  556, 333, 500, 278, 556, 500, 722, 500, 500, 500, 334, 260, 334, 584};

double characterWidth(char32_t c) {
    constexpr char32_t firstWide = 0x1100;
    const bool isSymbol = c >= 0x2000 && c < 0x2E80;
    if (c >= 0x20 && c < 0x7F) return widths[c - 0x20] * 1e-3;
    if (c >= 0x2070 && c <= 0x207E) return 0.36;
    return c < firstWide || isSymbol ? 0.6 : 1;
}

// Typefaces that stand in for the usual one are a little wider.
constexpr double allowance = 1.06;

}  // namespace

std::string qvSvgEscaped(QVText text) {
    const std::string_view source = text.view();
    std::string escaped;
    escaped.reserve(source.size());
    for (std::size_t at = 0; at < source.size();) {
        const std::size_t begin = at;
        const char32_t c = nextCharacter(source, at);
        if (!isAllowedInXml(c)) continue;
        if (c == '&') {
            escaped += "&amp;";
        } else if (c == '<') {
            escaped += "&lt;";
        } else if (c == '>') {
            escaped += "&gt;";
        } else if (c == '"') {
            escaped += "&quot;";
        } else if (c == replacement) {
            escaped += "\xEF\xBF\xBD";
        } else {
            escaped.append(source, begin, at - begin);
        }
    }
    return escaped;
}

double qvSvgTextWidth(QVText text, double size) {
    double width = 0;
    for (std::size_t at = 0; at < text.view().size();) {
        width += characterWidth(nextCharacter(text.view(), at));
    }
    return width * size * allowance;
}

QVString qvSvgFitted(QVText text, double size, double width) {
    if (qvSvgTextWidth(text, size) <= width) return QVString(text.view());
    const double most = width / (size * allowance) - 1;  // the ellipsis is as wide as the font
    double used = 0;
    std::size_t end = 0;
    for (std::size_t at = 0; at < text.view().size(); end = at) {
        used += characterWidth(nextCharacter(text.view(), at));
        if (used > most) break;
    }
    return QVString(text.view().substr(0, end)) + "\u2026";
}
