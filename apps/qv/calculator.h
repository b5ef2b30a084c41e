#pragma once
#include <string>

#include "apps/qv/formulasheet.h"

/// The text of a result: a complex number without imaginary part is written as a real one.
QVString valueText(double value);
QVString valueText(const std::complex<double>& value);

/// Evaluates formulas line by line from standard input: "name = formula" defines a name, any other
/// line prints its value. Empty lines and those that begin with "//" are passed over.
template <class T>
class Calculator {
public:
    explicit Calculator(FormulaSheet<T>& sheet) : sheet_(sheet) {}

    /// Reads to the end. False when some line failed and nobody sat at the terminal to see it.
    bool run();

private:
    bool runLine(const std::string& line);
    void converse();
    std::vector<std::string> completions(const std::string& typed) const;

    FormulaSheet<T>& sheet_;
};

extern template class Calculator<double>;
extern template class Calculator<std::complex<double>>;
