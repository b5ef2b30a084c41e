// The fast form of formulas beside a machine that runs the compiled list one element at a time.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <string>
#include <vector>

#include "qvutils/common/formula/formularesolver.h"
#include "qvutils/common/formula/limits.h"
#include "qvutils/common/formula/qvfnparserComm.h"
#include "tests/qvutils/common/formula/formula_makers.h"

namespace {

using Complex = std::complex<double>;

double realOf(double x, const char*) {
    return x;
}
double realOf(const Complex& z, const char* where) {
    if (z.imag() != 0) qvThrowError("cannot pass complex number to function \"%s\"\n", where);
    return z.real();
}
double negative(double x) {
    return -x;
}
Complex negative(const Complex& z) {
    return {-z.real(), 0 - z.imag()};
}

bool same(double a, double b) {
    return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b)) || a == b;
}
bool same(const Complex& a, const Complex& b) {
    return a == b;
}

/// The parts of a complex product that are not finite depend on how it is worked out.
bool isSettled(double) {
    return true;
}
bool isSettled(const Complex& z) {
    return std::isfinite(z.real()) && std::isfinite(z.imag());
}

/// Slow and plain: a value stack, and the rules of each element. `constant` follows what is known
/// at compile time, for there x**2, x**3 and x**4 are multiplied out.
template <class T>
class ListMachine {
public:
    ListMachine(const QVCompiledList<T>& list, const List<QVParameterOf<T>>& parameters)
        : list_(list), parameters_(parameters) {}

    T run() {
        for (at_ = 0; at_ < list_.elements.size(); ++at_) step(list_.elements[at_]);
        return pop();
    }
    bool settled() const { return settled_; }
    const QVCompiledElement<T>& failed() const { return list_.elements[at_]; }

private:
    struct Value {
        T v;
        bool constant;
    };
    struct Round {
        double left, step;
        T total;
    };
    using Element = QVCompiledElement<T>;

    T pop() {
        const T v = stack_.back().v;
        stack_.pop_back();
        return v;
    }
    void push(T v, bool constant = false) {
        stack_.push_back({v, constant});
        settled_ = settled_ && isSettled(v);
    }

    void step(const Element& e) {
        switch (e.op) {
            case QVOp::number:
                return push(e.value, true);
            case QVOp::parameter:
                return push(parameters_[e.target + 1].value[0]);
            case QVOp::loopVariable:
                return push(variable_[e.target]);
            case QVOp::call:
                return call(e);
            case QVOp::negate:
                stack_.back().v = negative(stack_.back().v);
                return;
            case QVOp::index:
                return index(e);
            case QVOp::jumpIfZero:
                if (pop() == T(0)) goTo(e.target);
                return;
            case QVOp::jump:
                return goTo(e.target);
            case QVOp::endIf:
                stack_.back().constant = false;
                return;
            case QVOp::loopBegin:
                return loopBegin(e);
            case QVOp::loopEnd:
                return loopEnd(e);
            default:
                return binary(e.op);
        }
    }
    void goTo(int element) { at_ = static_cast<std::size_t>(element) - 1; }

    void binary(QVOp op) {
        const bool constant = stack_.back().constant && stack_[stack_.size() - 2].constant;
        const T b = pop(), a = pop();
        const auto ordered = [&](const char* name, auto compare) {
            const double left = realOf(a, name), right = realOf(b, name);
            push(compare(left, right) ? 1 : 0);
        };
        switch (op) {
            case QVOp::add:
                return push(a + b, constant);
            case QVOp::subtract:
                return push(a - b, constant);
            case QVOp::multiply:
                return push(a * b, constant);
            case QVOp::divide:
                if (b == T(0)) qvThrowError("division by zero");
                return push(a / b, constant);
            case QVOp::equal:
                return push(a == b ? 1 : 0);
            case QVOp::notEqual:
                return push(a != b ? 1 : 0);
            case QVOp::less:
                return ordered("<", std::less<>());
            case QVOp::lessEqual:
                return ordered("<=", std::less_equal<>());
            case QVOp::greater:
                return ordered(">", std::greater<>());
            default:
                return ordered(">=", std::greater_equal<>());
        }
    }

    void call(const Element& e) {
        const std::size_t first = stack_.size() - static_cast<std::size_t>(e.arguments);
        std::vector<T> values;
        bool constant = true;
        for (std::size_t i = first; i < stack_.size(); ++i) {
            values.push_back(stack_[i].v);
            constant = constant && stack_[i].constant;
        }
        const bool power = e.function->name == "**" || e.function->name == "pow";
        const bool known = power && stack_.back().constant && !constant;
        T result = e.function->function({e.arguments, values.data()});
        if (known && (values[1] == T(2) || values[1] == T(3) || values[1] == T(4))) {
            const T x = values[0], square = x * x;
            result = values[1] == T(2) ? square : values[1] == T(3) ? square * x : square * square;
        }
        stack_.resize(first);
        push(result, constant);
    }

    void index(const Element& e) {
        const auto& p = parameters_[e.target + 1];
        const double i = std::trunc(realOf(pop(), "[]")) + 0.0;
        if (i >= p.lo && i <= p.hi) return push(p.value[static_cast<int>(i)]);
        const char* format = std::fabs(i) <= 2147483647
                                 ? "index %.0f out of range (%d %d) in variable \"%s\"\n"
                                 : "index %g out of range (%d %d) in variable \"%s\"\n";
        qvThrowError(format, i, p.lo, p.hi, p.name.Chars());  // NOLINT
    }

    void loopBegin(const Element& e) {
        const char* name = e.kind == QVLoopKind::sum ? "sum" : "prod";
        const double to = bound(pop(), name), from = bound(pop(), name);
        const double rounds = std::fabs(to - from) + 1;
        if ((taken_ += rounds) > qvMostLoopRounds()) {
            qvThrowError("too many rounds in sums and products: more than %.0f\n",
                         qvMostLoopRounds());
        }
        rounds_.push_back({rounds, to >= from ? 1.0 : -1.0, e.kind == QVLoopKind::sum ? 0.0 : 1.0});
        variable_[e.arguments] = from;
    }
    static double bound(const T& value, const char* name) {
        const double b = std::trunc(realOf(value, name));
        if (!(std::fabs(b) <= 9007199254740992.0)) {
            qvThrowError("bound %g is out of range in function \"%s\"\n", b, name);
        }
        return b;
    }
    void loopEnd(const Element& e) {
        Round& round = rounds_.back();
        const T value = pop();
        round.total = e.kind == QVLoopKind::sum ? round.total + value : round.total * value;
        if (--round.left > 0) {
            variable_[e.arguments] += round.step;
            return goTo(e.target + 1);
        }
        push(round.total);
        rounds_.pop_back();
    }

    const QVCompiledList<T>& list_;
    const List<QVParameterOf<T>>& parameters_;
    std::size_t at_ = 0;
    std::vector<Value> stack_;
    std::vector<Round> rounds_;
    T variable_[qvDeepestLoop] = {};
    double taken_ = 0;
    bool settled_ = true;
};

template <class T>
class Programs : public testing::Test {
protected:
    Programs() {
        for (const char* name : {"a", "b", "x", "width"}) expression.DeclareParam(name, "");
        expression.DeclareParam("v", "", 1, 3);
        const double values[] = {1.5, -0.25, 0.7, 2};
        for (int i = 0; i < 4; ++i) expression.getNameSpace()[i + 1].value[0] = values[i];
        for (int i = 1; i <= 3; ++i) expression.getNameSpace()[5].value[i] = 2.5 - i;
        qvSetMostLoopRounds(300);
    }
    ~Programs() override { qvSetMostLoopRounds(1e9); }

    /// What the list machine makes of a formula: a value, or a message and a place.
    std::string check(const std::string& formula) {
        expression.setExpression(std::string_view(formula));
        Error error;
        if (!expression.Compile(error)) return "";
        const T value = expression.Evaluate(error);

        QVFormulaParser parser(formula);
        QVFormulaResolver<T> resolver(parser, expression.getFuncParser(), expression.getNameSpace(),
                                      nullptr);
        QVCompiledList<T> list;
        resolver.resolve(parser.parse(), list);
        ListMachine<T> machine(list, expression.getNameSpace());
        try {
            const T expected = machine.run();
            if (!machine.settled()) return "";
            EXPECT_FALSE(error) << formula << ": " << error.chars();
            EXPECT_TRUE(same(value, expected)) << formula << ": " << value << ", not " << expected;
            return "value";
        } catch (const Error& failure) {
            if (!machine.settled()) return "";
            EXPECT_STREQ(error.chars(), failure.chars()) << formula;
            EXPECT_EQ(expression.getFault().column, machine.failed().position) << formula;
            return "error";
        }
    }

    QVExpression<T> expression;
};

using Families = testing::Types<double, Complex>;
TYPED_TEST_SUITE(Programs, Families);

TYPED_TEST(Programs, do_what_the_compiled_list_says) {
    FormulaMaker maker(20261121);
    int values = 0, errors = 0;
    for (int i = 0; i < 30000; ++i) {
        const std::string outcome = this->check(maker.formula(1 + i % 4));
        values += outcome == "value";
        errors += outcome == "error";
        if (this->HasFailure()) return;
    }
    std::printf("%d formulas with a value, %d that fail\n", values, errors);
    EXPECT_GT(values, 5000);
    EXPECT_GT(errors, 500);
}

TYPED_TEST(Programs, join_operations_without_changing_them) {
    for (const char* formula : {"a-x*b",
                                "a/(x-b)",
                                "a*b-(x+width)",
                                "(a+b)/(x-b)-(a*x)/(b-2)",
                                "1-(2-(3-(4-x)))",
                                "a*b/(x/width)",
                                "((x+1)*x+2)*x-3",
                                "(a*x+b)*(x*a+b)",
                                "if(a*b<x,a*b,x)-a*x",
                                "a*b-if(a<x,1,2)*x",
                                "a-max(b,x,a*b)",
                                "max(a*b,1)-pow(a*x,2)*x",
                                "-(a*b)-(-x)",
                                "sum(i=1:3,a*i-x*i)*b-a*x",
                                "a*b-sum(i=1:3,v[i]*i)",
                                "2*3-x/4+1/2",
                                "if(x,a,b)*if(0,a,b)",
                                "1<x",
                                "x>=width",
                                "1+x==x+1",
                                "a<b<x",
                                "(a<x)*(b>x)",
                                "2**x**2*3",
                                "x**3/x**4-x**2",
                                "sum(i=1:3,x*x+i)*x**2",
                                "if(x**2<1,x*x,x**3)-a**2*a*a",
                                "b*(x*x)-x**2*(b-x**2)"}) {
        EXPECT_EQ(this->check(formula), "value") << formula;
    }
}

}  // namespace
