// What formulas are worth: the built-in functions, conditionals, sums, vectors, and what fails.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <complex>
#include <cstdlib>
#include <limits>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "qvutils/common/formula/builtins.h"
#include "qvutils/common/formula/limits.h"
#include "qvutils/common/formula/qvfnparserComm.h"
#include "qvutils/common/tasks/runsignal.h"
#include "tests/support/captured_output.h"

namespace {
thread_local long allocations = 0;
}

// Not inlined: the compiler would take the pairs for mismatched ones.
[[gnu::noinline]] void* operator new(std::size_t size) {
    ++allocations;
    if (void* memory = std::malloc(size ? size : 1)) return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace {

using Complex = std::complex<double>;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

template <class T>
struct Calculator {
    Calculator() {
        expression.DeclareParam("x", "");
        expression.DeclareParam("v", "", 1, 3);
        for (int i = 1; i <= 3; ++i) expression.getNameSpace()[2].value[i] = 10.0 * i;
    }
    void compile(const char* formula) {
        expression.setExpression(formula);
        Error error;
        EXPECT_TRUE(expression.Compile(error)) << formula << ": " << error.chars();
    }
    T value(const char* formula, T x = T(0.5)) {
        compile(formula);
        expression.getNameSpace()[1].value[0] = x;
        Error error;
        const T result = expression.Evaluate(error);
        EXPECT_FALSE(error) << formula << ": " << error.chars();
        return result;
    }
    std::string message(const char* formula, T x = T(0.5)) {
        compile(formula);
        expression.getNameSpace()[1].value[0] = x;
        Error error;
        EXPECT_EQ(expression.Evaluate(error), T(0)) << formula;
        return error.chars();
    }

    QVExpression<T> expression;
};

TEST(RealFormulas, have_known_values) {
    const struct {
        const char* formula;
        double value;
    } cases[] = {
        // clang-format off
        {"2*(-3)", -6}, {"-3+2", -1}, {"2**3**2", 512}, {"-2**2", -4}, {"(-2)**3", -8},
        {"(-2)**(-3)", -0.125}, {"0**(-1)", 0}, {"pow(-2,2)", 4}, {"4**0.5", 2},
        {"sum(i=3:1, i)", 6}, {"prod(k=1:4, k)", 24}, {"sum(i=2.9:3.9, i)", 5},
        {"sum(i=1:3, sum(j=i:3, i*j))", 25}, {"if(0,1,2)", 2}, {"if(0.1,1,2)", 1},
        {"if(1, 5, 1/0)", 5}, {"if(0, ln(0), if(1,7,8))", 7}, {"exp(-101)", 0},
        {"exp(1)", 2.718281828459045}, {"lininterp(5, 0,0, 1,1)", 5},
        {"lininterp(-1, 0,0, 1,1, 2,5)", -1}, {"lininterp(1.5, 0,0, 1,1, 2,5)", 3},
        {"lininterp(2, 0,0.1, 1,0.1, 2,0.3)", 0.3}, {"spline(0.25, 0,1, 1,3)", 1.5},
        {"spline(1, 0,0, 1,1, 2,4)", 1}, {"spline(0.5, 0,0, 1,1, 2,0)", 0.6875},
        {"max(1,3,2) + min(4,-2,7)", 1}, {"sign(-3)+sign(0)+10*sign(2)", 9}, {"abs(-2.5)", 2.5},
        {"sqrt(2)", 1.4142135623730951}, {"ln(10)", 2.302585092994046}, {"log10(1000)", 3},
        {"asin(1)-_PI/2", 0}, {"acos(0.5)*3-_PI", 0}, {"4*atan(1)-_PI", 0},
        {"sin(1)", 0.8414709848078965}, {"cos(1)", 0.5403023058681398},
        {"tan(1)", 1.5574077246549023}, {"sinh(1)", 1.1752011936438014},
        {"cosh(1)", 1.5430806348152437}, {"tanh(1)", 0.7615941559557649}, {"v[1]+v[3.9]*x", 25},
        {"1<2<2", 1}, {"2>=2", 1}, {"1!=1", 0}};
    // clang-format on
    Calculator<double> calculator;
    for (const auto& c : cases) {
        EXPECT_NEAR(calculator.value(c.formula), c.value, 1e-15 * (1 + std::fabs(c.value)))
            << c.formula;
    }
}

TEST(RealFormulas, give_the_published_index_of_BK7) {
    // SCHOTT's data sheet: n_d = 1.51680 at 587.6 nm, n_F = 1.52238 at 486.1 nm.
    const char* sellmeier =
        "sqrt(1+1.03961212*x**2/(x**2-0.00600069867)+0.231792344*x**2/(x**2-0.0200179144)"
        "+1.01046945*x**2/(x**2-103.560653))";
    Calculator<double> calculator;
    EXPECT_NEAR(calculator.value(sellmeier, 0.5875618), 1.51680, 5e-6);
    EXPECT_NEAR(calculator.value(sellmeier, 0.4861327), 1.52238, 5e-6);
}

void expectNear(const Complex& a, const Complex& b, const char* what) {
    EXPECT_NEAR(a.real(), b.real(), 2e-15 * (1 + std::abs(b))) << what;
    EXPECT_NEAR(a.imag(), b.imag(), 2e-15 * (1 + std::abs(b))) << what;
}

TEST(ComplexFormulas, have_known_values) {
    const Complex i(0, 1), z(1, 2);
    const double pi = 3.141592653589793;
    const struct {
        const char* formula;
        Complex value;
    } cases[] = {
        // clang-format off
        {"sqrt(-4)", 2.0 * i}, {"sqrt(0-4)", 2.0 * i}, {"sqrt(4/(-1))", 2.0 * i},
        {"sqrt(-(2*2))", 2.0 * i}, {"ln(-1)", pi * i},
        {"log10(-10)", 1.0 + i * pi / std::log(10.0)}, {"(-1)**0.5", i}, {"(-2)**2", 4},
        {"x**2", z * z}, {"x**(-2)", 1.0 / (z * z)}, {"x**5", z * z * z * z * z},
        {"x**x", std::exp(z * std::log(z))}, {"0**x", 0}, {"exp(ln(x))", z},
        {"sin(x)**2+cos(x)**2", 1}, {"cosh(x)**2-sinh(x)**2", 1}, {"tan(x)-sin(x)/cos(x)", 0},
        {"sin(asin(x))", z}, {"cos(acos(x))", z}, {"tan(atan(x))", z},
        {"asin(2)", {pi / 2, 1.3169578969248167}}, {"acos(-2)", {pi, -1.3169578969248167}},
        {"abs(x)", std::sqrt(5.0)}, {"arg(x)", std::atan(2.0)}, {"arg(-1)", pi},
        {"real(x)-imag(x)", -1}, {"real(x)<imag(x)", 1}, {"if(x-1, 3, 4)", 3},
        {"lininterp(0.5, 0,x, 1,3*x)", 2.0 * z}, {"spline(0.5, 0,0, 1,x, 2,0)", 0.6875 * z},
        {"sum(k=1:2, k*x)", 3.0 * z}, {"max(real(x), 3)", 3}, {"x/2 - 2/x", z / 2.0 - 2.0 / z}};
    // clang-format on
    Calculator<Complex> calculator;
    for (const auto& c : cases) {
        expectNear(calculator.value(c.formula, z), c.value, c.formula);
    }
}

TEST(RealFormulas, say_why_they_have_no_value) {
    const struct {
        const char* formula;
        const char* message;
        int column;
    } cases[] = {
        // clang-format off
        {"1 + 2/(x-x)", "division by zero", 5},
        {"x/(x*0) - 1/x", "division by zero", 1},
        {"2*sqrt(x-1)", "negative argument in sqrt\n", 2},
        {"(-8)**(1/3)", "negative argument in non-integer power\n", 4},
        {"ln(0)", "DOMAIN error in function \"ln\"\n", 0},
        {"log10(-x)", "DOMAIN error in function \"log10\"\n", 0},
        {"asin(1.1)", "DOMAIN error in function \"asin\"\n", 0},
        {"acos(-1.1)", "DOMAIN error in function \"acos\"\n", 0},
        {"1+max(1)", "too few arguments in function \"max\"\n", 2},
        {"lininterp(1,2,3)", "too few arguments in function \"lininterp\"\n", 0},
        {"lininterp(1,2,3,4,5,6)", "wrong number of arguments in function \"lininterp\"\n", 0},
        {"lininterp(1,2,3,2,5)", "the x-arguments must be monotonically increasing", 0},
        {"spline(1,2,3,2,5)", "spline: the x-arguments must be monotonically increasing", 0},
        {"spline(1,2,3,inf,5)", "spline: the points must be finite numbers\n", 0},
        {"spline(1,2,3,4,5,6,nan)", "spline: the points must be finite numbers\n", 0},
        {"spline(1,2)", "too few arguments in function \"spline\"\n", 0},
        {"spline(1,2,3,4,5,6)", "wrong number of arguments in function \"spline\"\n", 0},
        {"x + v[4]", "index 4 out of range (1 3) in variable \"v\"\n", 4},
        {"v[0.9]", "index 0 out of range (1 3) in variable \"v\"\n", 0},
        {"v[1e300]", "index 1e+300 out of range (1 3) in variable \"v\"\n", 0},
        {"v[nan]", "index nan out of range (1 3) in variable \"v\"\n", 0},
        {"1+sum(i=1:inf, i)", "bound inf is out of range in function \"sum\"\n", 2},
        {"prod(i=nan:3, i)", "bound nan is out of range in function \"prod\"\n", 0},
        {"sum(i=1:1e12, i)", "too many rounds in sums and products: more than 1000000000\n", 0},
        {"sum(i=0:1, 1/i)", "division by zero", 12}};
    // clang-format on
    Calculator<double> calculator;
    for (const auto& c : cases) {
        EXPECT_EQ(calculator.message(c.formula), c.message) << c.formula;
        EXPECT_EQ(calculator.expression.getFault().column, c.column) << c.formula;
    }
}

TEST(ComplexFormulas, refuse_imaginary_parts_where_order_or_place_matters) {
    Calculator<Complex> calculator;
    const auto refusal = [](const std::string& name) {
        return "cannot pass complex number to function \"" + name + "\"\n";
    };
    const char* cases[][2] = {{"x<1", "<"},
                              {"1<x", "<"},
                              {"x+1>=x", ">="},
                              {"if(2>x,1,2)", ">"},
                              {"sign(x)", "sign"},
                              {"max(1,x)", "max"},
                              {"min(x,1)", "min"},
                              {"v[x]", "[]"},
                              {"sum(i=x:3,i)", "sum"},
                              {"prod(i=1:x,i)", "prod"}};
    for (const auto& c : cases) {
        EXPECT_EQ(calculator.message(c[0], Complex(1, 1)), refusal(c[1])) << c[0];
        calculator.value(c[0], Complex(1, 0));
    }
    EXPECT_EQ(calculator.message("lininterp(0.5,0,1,x,2)", Complex(1, 1)),
              "cannot pass complex number in this position to function \"lininterp\"\n");
}

TEST(RealFormulas, carry_what_is_not_finite) {
    Calculator<double> calculator;
    EXPECT_TRUE(std::isnan(calculator.value("x*2+1", nan)));
    EXPECT_TRUE(std::isnan(calculator.value("sqrt(x)+ln(x)+asin(x)+x**2.5", nan)));
    EXPECT_EQ(calculator.value("1/x", HUGE_VAL), 0);
    EXPECT_EQ(calculator.value("x<1", nan), 0);
    EXPECT_EQ(calculator.value("if(x,1,2)", nan), 1);
    EXPECT_EQ(calculator.value("exp(x)", -HUGE_VAL), 0);
}

TEST(RealFormulas, without_the_bounds_check_read_the_nearest_element) {
    Calculator<double> calculator;
    calculator.expression.EnableBoundsCheck(false);
    EXPECT_EQ(calculator.value("v[0]"), 10);
    EXPECT_EQ(calculator.value("v[1e300]"), 30);
    EXPECT_EQ(calculator.value("v[-1e300]+v[nan]"), 20);
    EXPECT_EQ(calculator.value("v[2]"), 20);
}

TEST(Loops, end_at_the_limit_and_when_asked_to_stop) {
    Calculator<double> calculator;
    const auto begin = std::chrono::steady_clock::now();
    calculator.message("sum(i=1:1e12, i)");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));

    qvSetMostLoopRounds(1000);
    EXPECT_EQ(calculator.value("sum(i=1:900, 1)"), 900);
    EXPECT_EQ(calculator.message("sum(i=1:40, sum(j=1:40, 1))"),
              "too many rounds in sums and products: more than 1000\n");
    qvSetMostLoopRounds(1e9);

    CapturedOutput output;
    const qvRunSignal running;
    qvRunSignal::requestKill();
    EXPECT_EQ(calculator.message("sum(i=1:1e8, i)"), "evaluation stopped\n");
}

template <class T>
void checkTable() {
    for (const QVBuiltin<T>& row : qvBuiltins<T>()) {
        const FuncDataElt<T>* f = QVFuncParser<T>::TheFuncParser.findFunction(row.name);
        ASSERT_TRUE(f) << row.name;
        EXPECT_EQ(f->facts, &row.facts) << row.name;
        EXPECT_NE(std::string(row.facts.help), "") << row.name;
        EXPECT_EQ(row.facts.unary != nullptr, row.arity == 1) << row.name;
        EXPECT_EQ(row.arguments[0], '(') << row.name;
    }
}

TEST(BuiltinFunctions, are_registered_with_what_is_known_of_them) {
    checkTable<double>();
    checkTable<Complex>();
    EXPECT_EQ(qvBuiltins<double>().size() + 3, qvBuiltins<Complex>().size());
}

double twice(const ParListR& a) {
    return 2 * a[0];
}
double refuse(const ParListR& a) {
    qvThrowError("no value at %g\n", a[0]);
}
double count(const ParListR& a) {
    return a.count;
}

TEST(RegisteredFunctions, are_called_each_time_and_may_fail) {
    QVFuncParserR registry;
    registry.RegisterFunction(twice, "twice", 1);
    registry.RegisterFunction(refuse, "refuse", 1);
    registry.RegisterFunction(count, "count", -1);
    Calculator<double> calculator;
    calculator.expression.setFuncParser(registry);
    EXPECT_EQ(calculator.value("x+twice(3)*twice(x)"), 6.5);
    EXPECT_EQ(calculator.value("1+count(x,2,twice(x),3)"), 5);
    EXPECT_EQ(calculator.message("x+refuse(2)"), "no value at 2\n");
    EXPECT_EQ(calculator.expression.getFault().column, 2);

    calculator.compile("x*twice(x)");
    double slope = 0;
    Error error;
    calculator.expression.EvaluateDerivative(1, slope, error);
    EXPECT_STREQ(error.chars(), "function \"twice\" has no derivative\n");
}

TEST(Evaluation, needs_a_compiled_formula_and_its_own_arguments) {
    QVExpressionR formula, other;
    Error error;
    EXPECT_EQ(formula.Evaluate(error), 0);
    EXPECT_STREQ(error.chars(), "expression is not compiled\n");
    error.reset();
    formula.DeclareParam("x", "");
    formula.setExpression("x+1");
    ASSERT_TRUE(formula.Compile(error));
    formula.Evaluate(other.makeArguments(), error);
    EXPECT_STREQ(error.chars(), "the arguments are those of another expression\n");
    double slope = 0;
    formula.EvaluateDerivative(2, slope, error);
    EXPECT_STREQ(error.chars(), "there is no parameter number 2\n");
}

TEST(Evaluation, of_a_copy_reads_the_copys_parameters) {
    Calculator<double> calculator;
    calculator.value("x*10", 1);
    QVExpressionR copy = calculator.expression;
    copy.getNameSpace()[1].value[0] = 2;
    Error error;
    EXPECT_EQ(copy.Evaluate(error), 20);
    EXPECT_EQ(calculator.expression.Evaluate(error), 10);
    copy = calculator.expression;
    EXPECT_EQ(copy.Evaluate(error), 10);
}

TEST(Evaluation, takes_no_memory) {
    Calculator<double> real;
    Calculator<Complex> complex;
    for (const char* formula : {"x+1", "sum(i=1:3,i*x)", "if(x<1,v[2],3)",
                                "max(x,1,2)*lininterp(x,0,0,1,1)", "sin(x)*exp(-x)/sqrt(x)**x"}) {
        real.compile(formula);
        complex.compile(formula);
        double slope;
        Error error;
        const long before = allocations;
        real.expression.Evaluate(error);
        complex.expression.Evaluate(error);
        real.expression.EvaluateDerivative(1, slope, error);
        EXPECT_EQ(allocations, before) << formula;
    }
}

TEST(Evaluation, goes_on_in_several_threads_each_with_its_own_arguments) {
    Calculator<double> calculator;
    calculator.compile("sum(i=1:10, x*i)/x + v[x]");
    const QVExpressionR& formula = calculator.expression;
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int t = 1; t <= 4; ++t) {
        threads.emplace_back([&, t] {
            QVArguments<double> arguments = formula.makeArguments();
            for (int i = 0; i < 2000; ++i) {
                Error error;
                arguments.value(1) = t;
                arguments.value(2, std::min(t, 3)) = i;
                const double value = formula.Evaluate(arguments, error);
                wrong += t <= 3 ? value != 55 + i : arguments.getFault().column != 21;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
}

}  // namespace
