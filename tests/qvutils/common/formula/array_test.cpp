// Formulas over arrays beside the same formulas for one row after the other.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <random>
#include <string>
#include <vector>

#include "qvutils/common/formula/limits.h"
#include "qvutils/common/formula/qvfnparserComm.h"
#include "qvutils/common/platform/vectormath.h"
#include "tests/qvutils/common/formula/formula_makers.h"

namespace {

using Complex = std::complex<double>;
constexpr int rows = 1000;  // three blocks and a part

void setParts(double& x, double re, double) {
    x = re;
}
void setParts(Complex& z, double re, double im) {
    z = {re, im};
}

double unitsApart(double a, double b) {
    if (a == b || (std::isnan(a) && std::isnan(b))) return 0;
    return std::fabs(a - b) / (std::nextafter(std::fabs(b), HUGE_VAL) - std::fabs(b));
}
double unitsApart(const Complex& a, const Complex& b) {
    return std::max(unitsApart(a.real(), b.real()), unitsApart(a.imag(), b.imag()));
}

template <class T>
class Arrays : public testing::Test {
protected:
    Arrays() : x(rows), b(rows), results(rows) {
        for (const char* name : {"a", "b", "c", "x"}) expression.DeclareParam(name, "");
        expression.DeclareParam("v", "", 0, 1);
        expression.getNameSpace()[5].value[0] = 5;
        expression.getNameSpace()[5].value[1] = 7;
        std::mt19937 random(7);
        std::uniform_real_distribution<> between(0.05, 0.95);
        const auto fill = [&](T& v) {
            const double re = between(random);
            setParts(v, re, between(random));
        };
        fill(scalar(1));
        fill(scalar(3));
        for (T& v : x) fill(v);
        for (T& v : b) fill(v);
    }
    T& scalar(int parameter) { return expression.getNameSpace()[parameter].value[0]; }
    bool compile(const char* formula) {
        expression.setExpression(formula);
        Error error;
        return expression.Compile(error);
    }
    bool evaluate(Error& error, std::size_t* failedRow = nullptr) {
        const QVArraySource<T> sources[] = {{4, x}, {2, b}};
        return expression.EvaluateArray(sources, results, error, failedRow);
    }
    T alone(int row, Error& error) {
        scalar(4) = x[static_cast<std::size_t>(row)];
        scalar(2) = b[static_cast<std::size_t>(row)];
        return expression.Evaluate(error);
    }
    /// The largest difference in units in the last place, with vectors of any width.
    double compare(const char* formula) {
        EXPECT_TRUE(compile(formula)) << formula;
        double worst = 0;
        for (const int width : {2, 4, 8}) {
            qvplatform::limitVectorWidth(width);
            worst = std::max(worst, compareOnce(formula));
        }
        return worst;
    }
    double compareOnce(const char* formula) {
        Error error;
        EXPECT_TRUE(evaluate(error)) << formula << ": " << error.chars();
        double worst = 0;
        for (int i = 0; i < rows; ++i) {
            worst =
                std::max(worst, unitsApart(results[static_cast<std::size_t>(i)], alone(i, error)));
        }
        return worst;
    }

    QVExpression<T> expression;
    std::vector<T> x, b, results;
};

using Families = testing::Types<double, Complex>;
TYPED_TEST_SUITE(Arrays, Families);
using RealArrays = Arrays<double>;

// clang-format off
const char* const arithmetic[] = {
    "x", "1", "a", "a+b", "a-x*c", "x*b+c*a", "((0.1*x+0.2)*x+0.3)*x-0.4", "-x", "-a*x",
    "x**2/(x**2-2)+b**3-x**4", "a-b/x-(c-a*x)/(x+b)", "(a+x)/(b*2)", "x/(1/b)+a*(b-x)",
    "(a*b)/(c*a)*x", "1-2-x*2/4", "a/(b-c*3)", "(a-c)*x-(a*c)", "x-(a*c)", "a-(x*c)",
    "a-(c-b)/(c+x)", "b*(a/c)+2/b", "abs(x-b)", "sqrt(x+b)", "x==b", "(a==c)+x", "(1-x)**2",
    "a*c+(x!=b)*2", "x*(b+1)*(c+x)*(a-b)*(x-b)", "lininterp(0.5,0,a,1,x)", "v[1]*x-v[0]",
    "sum(i=1:3,i*x)", "if(x==b,x,b*a)"};
const char* const functions[] = {
    "sin(x)", "cos(x)", "tan(x)", "sinh(x)", "cosh(x)", "tanh(x)", "exp(x)", "ln(x)", "log10(x)",
    "asin(x)", "acos(x)", "atan(x)", "x**b", "x**a", "a**x", "x**1.7", "exp(0-90-20*x)"};
// clang-format on

TYPED_TEST(Arrays, of_arithmetic_are_equal_bit_for_bit) {
    for (const char* formula : arithmetic) {
        EXPECT_EQ(this->compare(formula), 0) << formula;
    }
}

TYPED_TEST(Arrays, of_functions_are_within_a_few_units_in_the_last_place) {
    for (const char* formula : functions) {
        EXPECT_LE(this->compare(formula), 4) << formula;
    }
    EXPECT_LE(this->compare("exp(-a*x)*cos(b*x)+sin(a)"), 16);
}

TEST_F(RealArrays, treat_order_and_negative_powers_as_single_numbers_do) {
    for (const char* formula :
         {"x<b", "a<=x", "if(x<0.5,x,ln(b))", "max(x,b)-min(a,x,c)", "sign(x-b)",
          "(x-1)**3*(x-b)**2", "spline(x,0,a,0.5,b,1,c)", "v[x+b]", "v[2*x]+1"}) {
        EXPECT_EQ(compare(formula), 0) << formula;
    }
}

TYPED_TEST(Arrays, report_the_first_row_that_fails) {
    auto& x = this->x;
    x[300] = x[400] = 0;
    x[700] = this->scalar(1);
    for (const char* formula : {"b/x", "1/(b*x)+1/(x-a)", "1+2/x/(x-a)", "if(x,b/(x-a),1/x)"}) {
        ASSERT_TRUE(this->compile(formula));
        Error error;
        std::size_t row = 0;
        EXPECT_FALSE(this->evaluate(error, &row)) << formula;
        EXPECT_EQ(row, 300u) << formula;
        EXPECT_STREQ(error.chars(), "division by zero") << formula;
        EXPECT_EQ(this->results[299], this->alone(299, error)) << formula;
    }
}

TEST_F(RealArrays, check_the_domain_of_each_function) {
    x[513] = -3;
    for (const char* formula : {"sqrt(x)", "ln(x)", "log10(x)", "asin(x)", "acos(x)", "x**0.5",
                                "b+sqrt(x)*2", "v[x]", "lininterp(1,x,0,-2,1)"}) {
        EXPECT_TRUE(compile(formula));
        Error error, single;
        std::size_t row = 0;
        EXPECT_FALSE(evaluate(error, &row)) << formula;
        alone(static_cast<int>(row), single);
        EXPECT_STREQ(error.chars(), single.chars()) << formula;
    }
}

TYPED_TEST(Arrays, of_random_formulas_are_what_single_evaluations_give) {
    qvSetMostLoopRounds(300);
    this->expression.DeclareParam("width", "");
    FormulaMaker maker(5);
    int values = 0, errors = 0;
    for (int i = 0; i < 20000 && !this->HasFailure(); ++i) {
        const std::string formula = maker.formula(1 + i % 4);
        if (!this->compile(formula.c_str())) continue;
        const bool exact = formula.find("sin") == formula.npos &&
                           formula.find("**") == formula.npos &&
                           formula.find("pow") == formula.npos;
        Error error, single;
        std::size_t failedRow = rows;
        const bool done = this->evaluate(error, &failedRow);
        const std::size_t row = done ? static_cast<std::size_t>(maker.below(rows)) : failedRow;
        const TypeParam value = this->alone(static_cast<int>(row), single);
        values += done;
        errors += !done;
        if (exact || !done) {
            EXPECT_STREQ(error.chars(), single.chars()) << formula;
        }
        if (exact && done) {
            EXPECT_EQ(unitsApart(this->results[row], value), 0) << formula << " in row " << row;
        }
    }
    qvSetMostLoopRounds(1e9);
    EXPECT_GT(values, 2000);
    EXPECT_GT(errors, 100);
}

TYPED_TEST(Arrays, may_be_worked_out_in_place_or_be_empty_but_not_of_different_lengths) {
    ASSERT_TRUE(this->compile("x*x+b"));
    Error error;
    ASSERT_TRUE(this->evaluate(error));
    std::vector<TypeParam> inPlace = this->x;
    const QVArraySource<TypeParam> sources[] = {{4, inPlace}, {2, this->b}};
    EXPECT_TRUE(this->expression.EvaluateArray(sources, std::span<TypeParam>(inPlace), error));
    EXPECT_EQ(inPlace, this->results);
    EXPECT_TRUE(this->expression.EvaluateArray({}, {}, error));
    EXPECT_FALSE(this->expression.EvaluateArray(sources, std::span(inPlace).first(3), error));
    EXPECT_STREQ(error.chars(), "there are 1000 values of \"x\" for 3 results\n");
}

TEST(VectorMath, gives_a_number_the_same_result_in_every_place) {
    using qvplatform::VectorFunction;
    std::vector<double> in(23), out(23), alone(1);
    for (int i = 0; i < 23; ++i) in[static_cast<std::size_t>(i)] = 0.04 * (i + 1);
    for (int f = 0; f < 3 * (static_cast<int>(VectorFunction::atan) + 1); ++f) {
        qvplatform::limitVectorWidth(2 << f % 3);
        const auto function = static_cast<VectorFunction>(f / 3);
        qvplatform::vectorMath(function, in.data(), out.data(), 23);
        for (std::size_t i = 0; i < 23; ++i) {
            qvplatform::vectorMath(function, &in[i], alone.data(), 1);
            EXPECT_EQ(alone[0], out[i]) << "function " << f << " of " << in[i];
        }
    }
}

}  // namespace
