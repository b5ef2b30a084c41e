#pragma once
#include <string>
#include <string_view>

/// The rules by which formulas are split, written down one by one: recursive, quadratic in the
/// formula's length, for short ones. Gives the postfix list as text, or the message of the first
/// mistake after a "!".
std::string splitByTheRules(std::string_view formula);
