#include "qvutils/qvnr/functiontext.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "qvutils/common/text/qvnumber.h"

namespace qvfunctiontext {

namespace {

constexpr std::size_t longestRow = 4096;

bool isBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

std::string_view withoutBlanks(std::string_view text) {
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    return text;
}

std::string_view wordOf(std::string_view text, bool separators) {
    std::size_t length = 0;
    while (length < text.size() && !isBlank(text[length]) && text.substr(length, 2) != "//" &&
           !(separators && (text[length] == ',' || text[length] == ';'))) {
        ++length;
    }
    return text.substr(0, length);
}

bool finiteNumber(std::string_view word, double& value) {
    double number = 0;
    if (word.empty() || !qvStringToNumber(QVText(word), number) || !std::isfinite(number)) {
        return false;
    }
    value = number;
    return true;
}

bool isEmptyRow(std::string_view row) {
    return row.empty() || row.substr(0, 2) == "//";
}

bool readRow(std::string_view row, Pair& pair) {
    const std::string_view x = wordOf(row, true);
    row = withoutBlanks(row.substr(x.size()));
    if (!row.empty() && (row[0] == ',' || row[0] == ';')) row = withoutBlanks(row.substr(1));
    return finiteNumber(x, pair.x) && finiteNumber(wordOf(row, true), pair.y);
}

}  // namespace

void WordReader::skipBlanks() {
    for (rest_ = withoutBlanks(rest_); rest_.substr(0, 2) == "//"; rest_ = withoutBlanks(rest_)) {
        rest_.remove_prefix(std::min(rest_.find('\n'), rest_.size()));
    }
}

std::string_view WordReader::word() const {
    return wordOf(rest_, false);
}

void WordReader::take(std::size_t length) {
    rest_.remove_prefix(length);
    skipBlanks();
}

bool WordReader::readInt(int& value) {
    const std::string_view text = word();
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) return false;
    take(text.size());
    return true;
}

bool WordReader::readNumber(double& value) {
    const std::string_view text = word();
    if (!finiteNumber(text, value)) return false;
    take(text.size());
    return true;
}

DataText readPairs(std::string_view text, std::vector<Pair>& pairs) {
    pairs.clear();
    if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
    while (!text.empty()) {
        const std::size_t length = std::min(text.find('\n'), text.size());
        const std::string_view row = withoutBlanks(text.substr(0, length));
        text.remove_prefix(std::min(length + 1, text.size()));
        if (length > longestRow) return DataText::rowTooLong;
        Pair pair{};
        if (isEmptyRow(row)) continue;
        if (!readRow(row, pair)) return DataText::unrecognised;
        pairs.push_back(pair);
    }
    return pairs.empty() ? DataText::unrecognised : DataText::read;
}

void sortPairs(std::vector<Pair>& pairs, std::vector<double>& x, std::vector<double>& y) {
    std::stable_sort(pairs.begin(), pairs.end(),
                     [](const Pair& a, const Pair& b) { return a.x < b.x; });
    x.clear();
    y.clear();
    for (const Pair& pair : pairs) {
        x.push_back(pair.x);
        y.push_back(pair.y);
    }
}

QVString numberText(double value) {
    char buffer[40];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return QVString(std::string_view(buffer, static_cast<std::size_t>(result.ptr - buffer)));
}

}  // namespace qvfunctiontext
