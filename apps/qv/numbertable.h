#pragma once
#include <complex>
#include <cstddef>
#include <string>
#include <vector>

enum class TableFormat { aligned, csv, json };

/// A column of numbers that belong to someone else.
struct TableColumn {
    std::string name;
    const double* values;
    /// From one row's number to the next: 0 for one number that holds for all rows.
    std::size_t stride;
    /// An imaginary part follows each number.
    bool complex = false;
    /// For charts.
    std::string unit = "";

    double operator[](std::size_t row) const { return values[row * stride]; }
    /// The real (0) or imaginary (1) part of a complex column as a column of its own, called
    /// "re(name)" or "im(name)"; the real part of a real column is the column.
    TableColumn part(int imaginary) const;
};

/// A single value holds for all rows.
inline TableColumn tableColumn(const std::string& name, const std::vector<double>& values) {
    return {name, values.data(), values.size() > 1 ? 1U : 0U};
}
inline TableColumn tableColumn(const std::string& name,
                               const std::vector<std::complex<double>>& values) {
    const auto* parts = reinterpret_cast<const double*>(values.data());
    return {name, parts, values.size() > 1 ? 2U : 0U, true};
}

/// Writes columns to standard output, complex ones as two. Numbers have the fewest digits that read
/// back the same.
void writeTable(TableFormat format, const std::vector<TableColumn>& columns, std::size_t rows);
/// Writes a JSON array of one object per row; complex numbers are arrays of two.
void writeJsonObjects(const std::vector<TableColumn>& columns, std::size_t rows);
