#pragma once
#include <string>
#include <vector>

/// What stands between the colons of LO:HI:STEP; each may be a formula.
struct SweepText {
    std::string lo;
    std::string hi;
    std::string step;
};

/// Takes LO:HI:STEP apart; colons in brackets belong to a formula. False for any other text.
bool splitSweep(const std::string& text, SweepText& sweep);

/// The values lo + i*step up to hi, which belongs to them when a whole number of steps leads there.
/// Where the three are short decimal numbers, so are the values: 0:1:0.1 gives 0.3 and not
/// 0.30000000000000004. False, with a message, for a sweep that has no end or too many values.
bool sweepValues(double lo, double hi, double step, std::vector<double>& values,
                 std::string& error);
