#pragma once
#include <memory>
#include <string>

#include "qvutils/qvnr/Splinfit.h"

/// A weighting function read from a file: a cubic spline through its rows, constant before the
/// first and beyond the last of them.
///
///     file: { row "\n" }
///     row:  [ t separator weight [ separator anything ] ] [ ("//" | "#") comment ]
///
/// The separator is blank space, a comma or a semicolon. The numbers of the first column rise from
/// row to row. There are 2 to 65535 rows.
class WeightTable {
public:
    static constexpr std::size_t mostBytes = 16u << 20;
    static constexpr std::size_t longestRow = 4096;

    /// Null when it cannot be used; `flaw` then names the file, and the line where there is one.
    static std::shared_ptr<const WeightTable> read(const std::string& path, std::string& flaw);

    /// t is a number; any number of threads may ask.
    double value(double t) const;

private:
    CSpline spline_;
};
