// Formulas: real and complex evaluation agree where both have an answer, faults lie in the text,
// and renaming there and back changes nothing.
#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

#include "fuzz/check.h"
#include "qvutils/common/formula/limits.h"
#include "qvutils/common/formula/qvfnparserComm.h"

namespace {

template <class T>
void declare(QVExpression<T>& expression, std::string_view formula) {
    const double values[] = {0.5, -2, 3};
    int next = 0;
    for (const char* name : {"a", "b", "x"}) {
        expression.DeclareParam(name, "");
        expression.getNameSpace().last_cpt().value[0] = values[next++];
    }
    expression.DeclareParam("v", "", -1, 1);
    for (T& value : expression.getNameSpace().last_cpt().value) value = values[--next];
    expression.setExpression(formula);
}

void checkFault(std::string_view formula, const QVFormulaFault& fault) {
    const auto size = static_cast<int>(formula.size());
    check(fault.column >= 0 && fault.column <= size && fault.length > 0);
    check(fault.column + fault.length <= size + 1);
    check(!qvShowFault(formula, fault).Empty());
}

/// Are values near enough? Rounding differs between the families in powers, and a comparison, an
/// index or a sum may turn the last bit into much more.
bool agree(double real, const std::complex<double>& complex) {
    if (!std::isfinite(real) || !std::isfinite(complex.real())) return true;
    return std::abs(real - complex) <= 1e-9 * (1 + std::fabs(real));
}

bool isSmooth(std::string_view formula) {
    return formula.find_first_of("<>=![") == formula.npos && formula.find("sign") == formula.npos &&
           formula.find("inf") == formula.npos && formula.find("if") == formula.npos &&
           formula.find("99") == formula.npos;
}

void checkFamilies(std::string_view formula) {
    QVExpressionR real;
    QVExpressionC complex;
    declare(real, formula);
    declare(complex, formula);
    Error realError, complexError;
    const bool compiled = real.Compile(realError);
    if (compiled) check(complex.Compile(complexError));
    if (!compiled) return checkFault(formula, real.getFault());
    const double value = real.Evaluate(realError);
    const std::complex<double> complexValue = complex.Evaluate(complexError);
    if (realError) checkFault(formula, real.getFault());
    if (complexError) checkFault(formula, complex.getFault());
    if (realError || complexError || !isSmooth(formula)) return;
    check(agree(value, complexValue));
    double slope = 0;
    const double again = real.EvaluateDerivative(1, slope, realError);
    check(realError || again == value || std::isnan(value));
}

void checkRenaming(std::string_view formula) {
    std::string compact(formula);
    std::erase_if(compact, [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; });
    if (compact.find("unusual") != compact.npos) return;
    int there = 0, back = 0;
    const QVString renamed = qvRenameInFormula(formula, "a", "unusual", there);
    check(qvRenameInFormula(renamed, "unusual", "a", back).view() == formula);
    check(there == back);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    qvSetMostLoopRounds(2000);
    const std::string_view formula(reinterpret_cast<const char*>(data), size);
    checkFamilies(formula);
    checkRenaming(formula);
    return 0;
}
