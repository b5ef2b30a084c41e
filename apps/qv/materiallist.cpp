#include "apps/qv/materiallist.h"

#include <algorithm>
#include <cmath>

#include "apps/qv/tabletext.h"
#include "qvutils/common/materialobject/materialref.h"
#include "qvutils/common/text/qvnumber.h"

namespace {

using Summary = qvMaterialSummary;
using Range = std::optional<Summary::Range>;

/// A column: a text or a range of each material.
struct Column {
    const char* name;
    std::string Summary::*text;
    Range Summary::*range;
};

constexpr Column columns[] = {
    {"name", &Summary::name, nullptr},
    {"model", &Summary::model, nullptr},
    {"mx", &Summary::mxLabel, nullptr},
    {"mxRange", nullptr, &Summary::mx},
    {"my", &Summary::myLabel, nullptr},
    {"myRange", nullptr, &Summary::my},
    {"lambda", nullptr, &Summary::lambda},
    {"T", nullptr, &Summary::T},
};

std::string number(double value) {
    return qvShortestText(value).Chars();
}

std::string roundedNumber(double value) {
    char text[qvNumberTextSize];
    return {text, qvFormatG(text, value, 6)};
}

// A range is written as LO:HI, without a limit that is infinite.
std::string cellText(const Summary& summary, const Column& column,
                     std::string (*numberText)(double)) {
    if (column.text) return oneLine(summary.*column.text);
    const Range& range = summary.*column.range;
    if (!range) return "";
    return (std::isinf(range->low) ? "" : numberText(range->low)) + ":" +
           (std::isinf(range->high) ? "" : numberText(range->high));
}

std::string cellJson(const Summary& summary, const Column& column) {
    if (column.text) return jsonString(oneLine(summary.*column.text));
    const Range& range = summary.*column.range;
    if (!range) return "null";
    return "[" + (std::isinf(range->low) ? "null" : number(range->low)) + ", " +
           (std::isinf(range->high) ? "null" : number(range->high)) + "]";
}

void writeCsv(const std::vector<Summary>& materials) {
    TableOutput out;
    for (const Column& column : columns) out << (&column != columns ? "," : "") << column.name;
    out << "\n";
    for (const Summary& material : materials) {
        for (const Column& column : columns)
            out << (&column != columns ? "," : "")
                << csvField(cellText(material, column, number));
        out << "\n";
    }
}

void writeJson(const std::vector<Summary>& materials) {
    TableOutput out;
    out << "[";
    for (const Summary& material : materials) {
        out << (&material != materials.data() ? ",\n {" : "\n {");
        for (const Column& column : columns) {
            out << (&column != columns ? ", " : "") << jsonString(column.name) << ": "
                << cellJson(material, column);
        }
        out << "}";
    }
    out << "\n]\n";
}

void writeAligned(const std::vector<Summary>& materials) {
    std::vector<std::string> lines(materials.size() + 1);
    for (const Column& column : columns) {
        std::vector<std::string> cells = {column.name};
        for (const Summary& material : materials)
            cells.push_back(cellText(material, column, roundedNumber));
        const auto isEmpty = [](const std::string& cell) { return cell.empty(); };
        if (std::all_of(cells.begin() + 1, cells.end(), isEmpty)) continue;
        std::size_t width = 0;
        for (const std::string& line : lines) width = std::max(width, line.size());
        for (std::size_t i = 0; i < lines.size(); ++i) {
            if (cells[i].empty()) continue;
            lines[i].resize(width > 0 ? width + 2 : 0, ' ');
            lines[i] += cells[i];
        }
    }
    TableOutput out;
    for (const std::string& line : lines) out << line << "\n";
}

}  // namespace

void listMaterials(Materbase& base, TableFormat format) {
    std::vector<Summary> materials;
    for (int i = 0; i < base.getNMaterials(); ++i)
        materials.push_back(qvSummarize(*base.getMaterial(i)));
    static constexpr void (*writers[])(const std::vector<Summary>&) = {writeAligned, writeCsv,
                                                                       writeJson};
    writers[static_cast<int>(format)](materials);
}
