// Derivatives of formulas beside what complex steps and differences give.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <string>

#include "qvutils/common/formula/qvfnparserComm.h"

namespace {

using Complex = std::complex<double>;

template <class T>
struct Slopes {
    explicit Slopes(const char* formula) : text(formula) {
        expression.DeclareParam("x", "");
        expression.DeclareParam("a", "");
        expression.DeclareParam("v", "", 0, 2);
        for (int i = 0; i <= 2; ++i) expression.getNameSpace()[3].value[i] = 1.5 + i;
        expression.getNameSpace()[2].value[0] = 1.25;
        expression.setExpression(formula);
        Error error;
        EXPECT_TRUE(expression.Compile(error)) << formula << ": " << error.chars();
    }
    T value(const T& x) {
        expression.getNameSpace()[1].value[0] = x;
        Error error;
        const T result = expression.Evaluate(error);
        EXPECT_FALSE(error) << text << ": " << error.chars();
        return result;
    }
    /// Also checks that the value is the same with and without a derivative.
    T slope(const T& x, int parameter = 1) {
        expression.getNameSpace()[1].value[0] = x;
        Error error;
        T derivative{};
        const T result = expression.EvaluateDerivative(parameter, derivative, error);
        EXPECT_FALSE(error) << text << ": " << error.chars();
        EXPECT_EQ(result, value(x)) << text;
        return derivative;
    }
    /// Differences of sixth order.
    T difference(const T& x) {
        const double h = 1e-3;
        const auto pair = [&](double k) { return value(x + k * h) - value(x - k * h); };
        return (45.0 * pair(1) - 9.0 * pair(2) + pair(3)) / (60 * h);
    }

    const char* text;
    QVExpression<T> expression;
};

// clang-format off
const char* const smooth[] = {
    "x", "3", "a*x+1", "a-x", "x*x*x", "1/x", "a/(x+1)", "(x+1)/(x-a)", "x**2", "x**3", "x**4",
    "x**5", "x**2.5", "x**(-3)", "a**x", "x**x", "pow(x,a)", "sqrt(x)", "exp(-a*x)", "ln(x)",
    "log10(x)", "sin(a*x)", "cos(x/a)", "tan(x)", "sinh(x)", "cosh(x)", "tanh(a*x)", "-x+2*(-x)",
    "sum(i=1:4, x**i/i)", "prod(i=1:3, x+i)", "((0.1*x+0.2)*x-a)*x+1", "a-x*x", "a/(x*x)",
    "x*(a-x)", "exp(sin(x)**2)/sqrt(1+x*x)", "if(a>1, x*x, 1/0)", "v[1]*x + x/v[2]"};
// clang-format on

/// Not every C library has complex forms of these that keep a tiny imaginary part.
const char* const inverse[] = {"asin(x)", "acos(x)", "atan(x)"};

TEST(Derivatives, of_real_formulas_are_those_of_complex_steps) {
    const double h = 1e-100;
    for (const char* formula : smooth) {
        Slopes<double> real(formula);
        Slopes<Complex> complex(formula);
        for (double x : {0.3, 0.65}) {
            const double expected = complex.value(Complex(x, h)).imag() / h;
            EXPECT_NEAR(real.slope(x), expected, 1e-14 * (1 + std::fabs(expected))) << formula;
        }
    }
}

void expectDifferences(const char* formula) {
    Slopes<Complex> complex(formula);
    for (const Complex x : {Complex(0.4, 0.3), Complex(-0.6, 0.5), Complex(0.5, -0.7)}) {
        const Complex expected = complex.difference(x);
        EXPECT_NEAR(std::abs(complex.slope(x) - expected), 0, 1e-10 * (1 + std::abs(expected)))
            << formula << " at " << x;
    }
}

TEST(Derivatives, of_complex_formulas_are_those_of_differences_in_any_direction) {
    for (const char* formula : smooth) expectDifferences(formula);
    for (const char* formula : inverse) expectDifferences(formula);
    for (const char* formula : {"abs(x)", "real(x)*2", "imag(x*x)", "arg(x)"}) {
        Slopes<Complex> alongReal(formula);
        const Complex x(0.4, 0.3);
        EXPECT_NEAR(std::abs(alongReal.slope(x) - alongReal.difference(x)), 0, 1e-9) << formula;
    }
}

TEST(Derivatives, are_those_of_the_piece_where_a_formula_has_pieces) {
    for (const char* formula :
         {"asin(x)+2*acos(x)-atan(x)", "abs(x-1)", "sign(x)*x", "max(x,x*x,0.2)", "min(x,a,x*x)",
          "x<0.5", "if(x<0.5,x,x*x)", "lininterp(x,0,1,0.5,x,1,a*x)", "lininterp(a,x,1,1+x,2)",
          "spline(x,0,1,0.4,2,1,0)", "spline(0.3,0,x,0.4,x*x,1,a)", "spline(2*x,0,x,1,1)"}) {
        Slopes<double> real(formula);
        for (double x : {0.31, 0.73}) {
            EXPECT_NEAR(real.slope(x), real.difference(x), 1e-9) << formula << " at " << x;
        }
    }
    EXPECT_EQ(Slopes<double>("abs(x)").slope(0), 0);
    EXPECT_EQ(Slopes<double>("sqrt(x)").slope(0), HUGE_VAL);
    EXPECT_EQ(Slopes<double>("x**2").slope(0), 0);
    EXPECT_EQ(Slopes<double>("x**3 + sqrt(x-x)").slope(-2), 12);
}

TEST(Derivatives, on_the_branch_cuts_are_those_above) {
    for (const char* formula : {"asin(x)", "acos(x)", "ln(x)", "sqrt(x)", "x**1.5"}) {
        for (double x : {2.5, -2.5}) {
            Slopes<Complex> complex(formula);
            const Complex expected = complex.difference(x);
            EXPECT_NEAR(std::abs(complex.slope(x) - expected), 0, 1e-10) << formula << " at " << x;
        }
    }
}

TEST(Derivatives, along_a_direction_all_parameters_change_at_once) {
    const Complex x(0.7, 0.2), i(0, 1);
    for (const char* text : {"x**2*a + v[1]", "abs(x*a)", "exp(a*x)/sqrt(x+a)"}) {
        Slopes<Complex> formula(text);
        formula.expression.getNameSpace()[1].value[0] = x;
        const Complex slopes[] = {2. - i, 3. * i, 99};
        Complex slope;
        Error error;
        formula.expression.EvaluateAlong(slopes, slope, error);
        const auto at = [&](double k) {
            formula.expression.getNameSpace()[2].value[0] = 1.25 + 1e-3 * k * slopes[1];
            return formula.value(x + 1e-3 * k * slopes[0]);
        };
        const Complex expected =
            (45. * (at(1) - at(-1)) - 9. * (at(2) - at(-2)) + (at(3) - at(-3))) / 0.06;
        EXPECT_LT(std::abs(slope - expected), 1e-9 * std::abs(expected)) << text;
        EXPECT_FALSE(error);
        formula.expression.EvaluateAlong({slopes, 2}, slope, error);
        EXPECT_STREQ(error.chars(), "there are 3 parameters and 2 slopes\n");
    }
}

TEST(Derivatives, are_taken_with_respect_to_any_scalar_parameter) {
    Slopes<double> formula("a*a*x + v[a]");
    EXPECT_EQ(formula.slope(3, 1), 1.5625);
    EXPECT_EQ(formula.slope(3, 2), 7.5);
    QVArguments<double> arguments = formula.expression.makeArguments();
    arguments.value(1) = 4;
    double slope = 0;
    Error error;
    EXPECT_EQ(formula.expression.EvaluateDerivative(arguments, 2, slope, error), 8.75);
    EXPECT_EQ(slope, 10);
    formula.expression.EvaluateDerivative(3, slope, error);
    EXPECT_STREQ(error.chars(), "variable \"v\" is a vector and needs an index\n");
    error.reset();
    Slopes<double> knots("spline(1,x,0,1,1)");
    knots.expression.EvaluateDerivative(1, slope, error);
    EXPECT_STREQ(error.chars(),
                 "the x-arguments of \"spline\" must not depend on the variable of "
                 "the derivative\n");
}

}  // namespace
