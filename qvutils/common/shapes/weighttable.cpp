#include "qvutils/common/shapes/weighttable.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <string_view>
#include <vector>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/text/qvnumber.h"

namespace {

constexpr std::string_view blanks = " \t\r\v\f";

std::string_view withoutBlanks(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text;
}

/// Takes a word off the row, and the separator after it.
std::string_view takeWord(std::string_view& row) {
    const std::string_view word = row.substr(0, row.find_first_of(" \t\r\v\f,;"));
    row = withoutBlanks(row.substr(word.size()));
    if (!row.empty() && (row[0] == ',' || row[0] == ';')) row = withoutBlanks(row.substr(1));
    return word;
}

/// Reads the rows of a text; says what is wrong with the first that is wrong.
class RowReader {
public:
    explicit RowReader(const std::string& path) : path_(path) {}

    bool read(std::string_view text);
    bool fail(const std::string& what);

    std::vector<CSplineData> rows;
    std::string flaw;

private:
    bool readRow(std::string_view row);
    bool readNumber(std::string_view& row, const char* column, double& number);
    bool failHere(const std::string& what) {
        return fail("line " + std::to_string(line_) + ": " + what);
    }

    const std::string& path_;
    int line_ = 0;
};

bool RowReader::fail(const std::string& what) {
    flaw = "weight file " + path_ + ": " + what + "\n";
    return false;
}

bool RowReader::read(std::string_view text) {
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    while (!text.empty()) {
        const std::size_t length = std::min(text.find('\n'), text.size());
        ++line_;
        if (length > WeightTable::longestRow) return failHere("too long");
        std::string_view row = text.substr(0, length);
        row = row.substr(0, std::min(row.find('#'), row.find("//")));
        if (!readRow(withoutBlanks(row))) return false;
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    if (rows.size() < 2) return fail("at least two rows of two numbers are needed");
    return true;
}

bool RowReader::readRow(std::string_view row) {
    CSplineData data;
    if (row.empty()) return true;
    if (!readNumber(row, "t", data.x) || !readNumber(row, "weight", data.y1)) return false;
    if (!rows.empty() && !(data.x > rows.back().x)) {
        return failHere("t = " + std::string(qvShortestText(data.x).view()) +
                        " is not greater than the " +
                        std::string(qvShortestText(rows.back().x).view()) + " before it");
    }
    if (rows.size() == CSpline::maxPoints) {
        return failHere("more than " + std::to_string(CSpline::maxPoints) + " rows");
    }
    rows.push_back(data);
    return true;
}

bool RowReader::readNumber(std::string_view& row, const char* column, double& number) {
    constexpr std::size_t shown = 40;
    const std::string_view word = takeWord(row);
    if (word.empty()) return failHere(std::string("the ") + column + " is missing");
    if (qvStringToNumber(QVText(word), number) && std::isfinite(number)) return true;
    std::string told(word.substr(0, shown));
    std::replace_if(
        told.begin(), told.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }, '?');
    return failHere(std::string("the ") + column + " \"" + told + "\" is not a number");
}

bool readText(const std::string& path, std::string& text, RowReader& reader) {
    const qvplatform::FileStatus status = qvplatform::fileSystem().status(path);
    if (!status.isFile()) return reader.fail(status.exists() ? "not a file" : "not found");
    bool tooLong = false;
    std::size_t length = 0;
    const auto room = [&](std::size_t size) -> char* {
        tooLong = size > WeightTable::mostBytes;
        if (tooLong) return nullptr;
        text.resize(size);
        return text.data();
    };
    if (!qvplatform::readWholeFile(path, room, length)) {
        return reader.fail(tooLong ? "longer than 16 MiB" : qvplatform::errorText(errno));
    }
    text.resize(length);
    return true;
}

}  // namespace

std::shared_ptr<const WeightTable> WeightTable::read(const std::string& path, std::string& flaw) {
    RowReader reader(path);
    const auto table = std::make_shared<WeightTable>();
    std::string text;
    if (!readText(path, text, reader) || !reader.read(text)) {
        flaw = reader.flaw;
        return nullptr;
    }
    // What was pending before stays so.
    Error before;
    qverr().transferto(before);
    const bool loaded = table->spline_.Load(
        reader.rows.data(), static_cast<int>(reader.rows.size()), path.c_str(), false);
    if (!loaded) reader.fail(qverr().chars_and_reset());
    before.transferto(qverr());
    flaw = reader.flaw;
    return loaded ? table : nullptr;
}

double WeightTable::value(double t) const {
    return spline_.CalcY1(std::clamp(t, spline_.getStart(), spline_.getEnd()));
}
