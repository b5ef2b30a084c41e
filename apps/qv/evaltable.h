#pragma once
#include <cstddef>
#include <string>
#include <vector>

#include "apps/qv/evaloptions.h"

/// A column of numbers that belong to someone else.
struct EvalColumn {
    std::string name;
    const double* values;
    /// From one row's number to the next: 0 for one number that holds for all rows.
    std::size_t stride;

    double operator[](std::size_t row) const { return values[row * stride]; }
};

/// Writes columns to standard output. Numbers have the fewest digits that read back the same.
void writeTable(EvalOptions::Format format, const std::vector<EvalColumn>& columns,
                std::size_t rows);
