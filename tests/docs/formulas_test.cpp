// Evaluates every example of the formula language's description and compares the values.
#include <gtest/gtest.h>

#include <complex>
#include <sstream>
#include <string>

#include "qvutils/common/formula/qvfnparserComm.h"
#include "qvutils/common/text/qvnumber.h"
#include "tests/support/temp_directory.h"

namespace {

/// The outcome in the form that the document uses.
template <class T>
std::string outcomeOf(const std::string& formula) {
    QVExpression<T> expression;
    expression.DeclareParam("width", "");
    expression.DeclareParam("gap", "");
    expression.DeclareParam("v", "", 1, 3);
    List<QVParameterOf<T>>& parameters = expression.getNameSpace();
    parameters[1].value[0] = 2.0;
    parameters[2].value[0] = 0.25;
    for (int i = 1; i <= 3; ++i) parameters[3].value[i] = 10.0 * i;
    expression.setExpression(std::string_view(formula));
    Error error;
    T value{};
    if (expression.Compile(error)) value = expression.Evaluate(error);
    if (!error) return "//= " + std::string(qvShortestText(value).view());
    std::string message = error.chars();
    if (message.ends_with('\n')) message.pop_back();
    return "//! " + message;
}

TEST(FormulaDocument, examples_have_the_values_it_says) {
    std::istringstream document(contentOf(QV_FORMULA_DOCUMENT));
    std::string line, formula, kind;
    int examples = 0;
    while (std::getline(document, line)) {
        if (line.starts_with("```")) {
            kind = line.substr(3);
        } else if (kind.empty() || !line.starts_with("//")) {
            formula = line;
        } else {
            const std::string outcome = kind == "complex" ? outcomeOf<std::complex<double>>(formula)
                                                          : outcomeOf<double>(formula);
            EXPECT_EQ(outcome, line) << formula;
            ++examples;
        }
    }
    EXPECT_GT(examples, 40);
}

}  // namespace
