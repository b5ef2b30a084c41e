#include "apps/qv/numbertable.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>

#include "apps/qv/tabletext.h"

namespace {

/// Room for any number's shortest text.
struct NumberText {
    explicit NumberText(double value) {
        end = std::to_chars(text, text + sizeof text, std::isnan(value) ? NAN : value).ptr;
    }
    std::string_view view() const { return {text, static_cast<std::size_t>(end - text)}; }

    char text[32];
    char* end;
};

// Complex columns as their parts.
std::vector<TableColumn> realColumns(const std::vector<TableColumn>& columns) {
    std::vector<TableColumn> all;
    for (const TableColumn& column : columns) {
        all.push_back(column.part(0));
        if (column.complex) all.push_back(column.part(1));
    }
    return all;
}

std::string_view jsonNumber(const NumberText& number, double value) {
    return std::isfinite(value) ? number.view() : "null";
}

void writeCsv(const std::vector<TableColumn>& columns, std::size_t rows) {
    TableOutput out;
    for (std::size_t i = 0; i < columns.size(); ++i)
        out << (i > 0 ? "," : "") << csvField(oneLine(columns[i].name));
    out << "\n";
    for (std::size_t row = 0; row < rows; ++row) {
        for (std::size_t i = 0; i < columns.size(); ++i)
            out << (i > 0 ? "," : "") << NumberText(columns[i][row]).view();
        out << "\n";
    }
}

void writeJson(const std::vector<TableColumn>& columns, std::size_t rows) {
    TableOutput out;
    out << "{\"columns\": [";
    for (std::size_t i = 0; i < columns.size(); ++i)
        out << (i > 0 ? ", " : "") << jsonString(oneLine(columns[i].name));
    out << "],\n \"rows\": [";
    for (std::size_t row = 0; row < rows; ++row) {
        out << (row > 0 ? ",\n  [" : "\n  [");
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const double value = columns[i][row];
            out << (i > 0 ? ", " : "") << jsonNumber(NumberText(value), value);
        }
        out << "]";
    }
    out << "]}\n";
}

// Columns as wide as their widest text, aligned to the right.
void writeAligned(const std::vector<TableColumn>& columns, std::size_t rows) {
    TableOutput out;
    std::vector<std::size_t> widths;
    for (const TableColumn& column : columns) {
        std::size_t width = column.name.size();
        for (std::size_t row = 0; row < rows; ++row)
            width = std::max(width, NumberText(column[row]).view().size());
        widths.push_back(width);
    }
    const auto write = [&](std::size_t i, std::string_view text) {
        out << std::string(widths[i] - text.size() + (i > 0 ? 2 : 0), ' ') << text;
    };
    for (std::size_t i = 0; i < columns.size(); ++i) write(i, oneLine(columns[i].name));
    out << "\n";
    for (std::size_t row = 0; row < rows; ++row) {
        for (std::size_t i = 0; i < columns.size(); ++i)
            write(i, NumberText(columns[i][row]).view());
        out << "\n";
    }
}

}  // namespace

TableColumn TableColumn::part(int imaginary) const {
    TableColumn one = *this;
    one.complex = false;
    if (complex) one.name = (imaginary ? "im(" : "re(") + name + ")";
    one.values += imaginary;
    return one;
}

void writeTable(TableFormat format, const std::vector<TableColumn>& columns, std::size_t rows) {
    static constexpr void (*writers[])(const std::vector<TableColumn>&, std::size_t) = {
        writeAligned, writeCsv, writeJson};
    writers[static_cast<int>(format)](realColumns(columns), rows);
}

void writeJsonObjects(const std::vector<TableColumn>& columns, std::size_t rows) {
    TableOutput out;
    std::vector<std::string> keys;
    for (const TableColumn& column : columns) keys.push_back(jsonString(column.name) + ": ");
    out << "[";
    for (std::size_t row = 0; row < rows; ++row) {
        out << (row > 0 ? ",\n {" : "\n {");
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const TableColumn& column = columns[i];
            const double real = column[row];
            out << (i > 0 ? ", " : "") << keys[i] << (column.complex ? "[" : "");
            out << jsonNumber(NumberText(real), real);
            if (!column.complex) continue;
            const double imaginary = column.values[row * column.stride + 1];
            out << ", " << jsonNumber(NumberText(imaginary), imaginary) << "]";
        }
        out << "}";
    }
    out << "\n]\n";
}
