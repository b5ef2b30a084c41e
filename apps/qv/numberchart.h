#pragma once
#include <cstddef>
#include <string>
#include <vector>

#include "apps/qv/numbertable.h"

/// Draws the columns over the first one, in one chart for each of their units. The imaginary part
/// of a complex column is dashed, and left out where it is 0 everywhere. False when the file cannot
/// be written; the reason has been told.
bool drawColumns(const std::string& path, const std::vector<TableColumn>& columns,
                 std::size_t rows);
