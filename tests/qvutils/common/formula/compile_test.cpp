// Compiling formulas: what names mean, which messages there are and where they point.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdlib>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "qvutils/common/formula/formularesolver.h"
#include "qvutils/common/formula/qvfnparserComm.h"
#include "tests/qvutils/common/formula/formula_makers.h"
#include "tests/support/comma_locale.h"

namespace {

template <class T>
class Formulas : public testing::Test {
protected:
    Formulas() {
        expression.DeclareParam("width", "in micrometres");
        expression.DeclareParam("v", "", 1, 3);
        expression.getNameSpace()[1].value[0] = 2.0;
        for (int i = 1; i <= 3; ++i) expression.getNameSpace()[2].value[i] = 10.0 * i;
    }

    /// The message of the first failure, empty when there is a value.
    std::string run(const std::string& formula) {
        Error error;
        expression.setExpression(QVText(std::string_view(formula)));
        if (expression.Compile(error)) value = expression.Evaluate(error);
        return error.chars();
    }

    QVExpression<T> expression;
    T value{};
};

using Families = testing::Types<double, std::complex<double>>;
TYPED_TEST_SUITE(Formulas, Families);

TYPED_TEST(Formulas, mistakes_have_their_messages_and_places) {
    const struct {
        const char* formula;
        const char* message;
        int column;
        int length;
    } cases[] = {
        {"1 + 2 * -3", "parse error\n", 8, 1},
        {"sin(1) (2)", "parse error\n", 7, 3},
        {"2*(1+3", "missing bracket\n", 2, 1},
        {"v[1", "missing square bracket\n", 1, 1},
        {"1+if(1, 2)", "too many arguments to if function\n", 2, 8},
        {"1+wid th*depth", "undefined variable \"depth\"\n", 9, 5},
        {"depth+nosuch(1)", "undefined variable \"depth\"\n", 0, 5},
        {"nosuch(depth)", "undefined variable \"depth\"\n", 7, 5},
        {"2*nosuch(1)+depth", "undefined function \"nosuch\"\n", 2, 6},
        {"sin(1, 2)", "wrong number of arguments in function \"sin\"\n", 0, 3},
        {"sum(k=1:2, q) + n", "undefined variable \"q\"\n", 11, 1},
        {"width[1]", "variable \"width\" is not a vector\n", 0, 5},
        {"sum(v=1:2, v[1])", "variable \"v\" is not a vector\n", 11, 1},
        {"1+v", "variable \"v\" is a vector and needs an index\n", 2, 1},
        {"nan(1)", "undefined function \"nan\"\n", 0, 3},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(this->run(c.formula), c.message) << c.formula;
        EXPECT_FALSE(this->expression.IsOk()) << c.formula;
        EXPECT_EQ(this->expression.getFault().column, c.column) << c.formula;
        EXPECT_EQ(this->expression.getFault().length, c.length) << c.formula;
    }
}

TYPED_TEST(Formulas, mistakes_of_evaluation_have_places_too) {
    EXPECT_EQ(this->run("1 + v[ 4 ]"), "index 4 out of range (1 3) in variable \"v\"\n");
    EXPECT_EQ(this->expression.getFault().column, 4);
    EXPECT_EQ(this->expression.getFault().length, 6);
    EXPECT_NE(this->run("width + 1 / (width-2)").find("division by zero"), std::string::npos);
    EXPECT_TRUE(this->expression.IsOk());
    EXPECT_EQ(this->expression.getFault().column, 10);
    EXPECT_EQ(this->run("if(1, 2, 1/0)"), "") << "not evaluated";
    EXPECT_EQ(this->expression.getFault().column, -1);
}

TYPED_TEST(Formulas, names_mean_the_first_of_number_loop_variable_constant_parameter) {
    const auto valueOf = [&](const char* formula) {
        EXPECT_EQ(this->run(formula), "") << formula;
        return std::real(this->value);
    };
    EXPECT_EQ(valueOf("width*v[width]"), 40);
    EXPECT_EQ(valueOf("sum(width=1:3, width)+width"), 8);
    EXPECT_EQ(valueOf("sum(_PI=1:2, _PI)"), 3);
    EXPECT_EQ(valueOf("sum(inf=1:2, 1)"), 2);
    EXPECT_TRUE(std::isinf(valueOf("sum(inf=1:2, inf)")));
    EXPECT_EQ(valueOf("sum(i=1:2, sum(j=i:i, sum(i=j*10:j*10, i)))"), 30);
    EXPECT_EQ(valueOf("sum(i=sum(i=1:3,i):7, i)"), 13) << "the bounds are outside the loop";
    this->expression.DeclareParam("_PI", "");
    EXPECT_NEAR(valueOf("_PI"), 3.141592653589793, 0);
}

TYPED_TEST(Formulas, are_compiled_anew_after_a_change_and_copies_stand_alone) {
    Error error;
    EXPECT_EQ(this->run("width+1"), "");
    QVExpression<TypeParam> copy(this->expression);
    copy.getNameSpace()[1].value[0] = 5.0;
    EXPECT_TRUE(copy.IsOk());
    EXPECT_EQ(std::real(copy.Evaluate(error)), 6);
    EXPECT_EQ(std::real(this->expression.Evaluate(error)), 3);

    QVFuncParser<TypeParam> registry = QVFuncParser<TypeParam>::TheFuncParser;
    EXPECT_TRUE(registry.RegisterConstant("c0", 299.792458, "speed of light"));
    EXPECT_FALSE(registry.RegisterConstant("c0", 3.0, "another"));
    EXPECT_TRUE(registry.RegisterFunction(
        [](const ParList<TypeParam>& p) { return p[0] + TypeParam(p.count); }, "count", -1));
    copy.setFuncParser(registry);
    EXPECT_FALSE(copy.IsOk());
    copy.setExpression("count(c0,1,1)");
    EXPECT_TRUE(copy.Compile(error));
    EXPECT_EQ(std::real(copy.Evaluate(error)), 302.792458);
    EXPECT_TRUE(QVFuncParser<TypeParam>(registry).IsFunctionRegistered("count"));
    EXPECT_FALSE(QVFuncParser<TypeParam>::TheFuncParser.IsFunctionRegistered("count"));
    EXPECT_EQ(this->expression.getExpression(), "width+1");

    copy.setNameSpace(this->expression.getNameSpace(), 2, 2);
    EXPECT_EQ(copy.findParam("v"), 1);
    EXPECT_EQ(copy.findParam("width"), 0);
    copy.Evaluate(error);
    EXPECT_TRUE(error) << "not compiled";
}

TYPED_TEST(Formulas, may_have_five_thousand_operations) {
    std::string longest = "1";
    for (int i = 0; i < 2499; ++i) longest += "+width";  // 4999 operations
    EXPECT_EQ(this->run(longest), "");
    EXPECT_EQ(std::real(this->value), 4999);
    EXPECT_EQ(this->run("-" + longest.substr(1)), "parse error\n") << "-+width";
    EXPECT_EQ(this->run("-" + longest), "") << "exactly 5000";
    EXPECT_EQ(this->run("-" + longest + "+1"), "expression too complicated\n");
    EXPECT_EQ(this->run(longest + "+1+1+nosuch"), "undefined variable \"nosuch\"\n");
    std::string deepest = "1";
    for (int i = 0; i < 2400; ++i) deepest = "1+(" + deepest + ")";
    EXPECT_EQ(this->run(deepest), "");
    EXPECT_EQ(std::real(this->value), 2401);
    EXPECT_EQ(this->run(std::string(500000, '(') + "7" + std::string(500000, ')')), "");
}

/// Names from outside, as a namespace offers them.
class Outside : public QVNameSource {
public:
    bool findName(QVText name, QVNameHandle& handle) override {
        ++looked;
        handle.key = 7;
        return name.view() == "gap";
    }
    bool readName(const QVNameHandle& handle, std::complex<double>& value) override {
        value = 0.5 * static_cast<double>(handle.key);
        return there;
    }
    void listNames(std::vector<QVString>& names) override { names.push_back("gap"); }

    bool there = true;
    int looked = 0;
};

TYPED_TEST(Formulas, find_names_in_a_namespace_once_each) {
    Outside outside;
    this->expression.setNameSpace(&outside);
    EXPECT_EQ(this->run("gap*gap+width"), "");
    EXPECT_EQ(std::real(this->value), 14.25);
    EXPECT_EQ(outside.looked, 1);
    EXPECT_EQ(this->run("gap[1]"), "variable \"gap\" is not a vector\n");
    EXPECT_EQ(this->run("1+gpa+with"), "undefined variable \"gpa\"\n");
    EXPECT_STREQ(qvShowFault("1+gpa+with", this->expression.getFault()),
                 "1+gpa+with\n  ^~~\ndid you mean gap?\n");
    EXPECT_EQ(this->run("sqr(2)"), "undefined function \"sqr\"\n");
    EXPECT_STREQ(qvShowFault("sqr(2)", this->expression.getFault()),
                 "sqr(2)\n^~~\ndid you mean sqrt?\n");
}

TEST(FormulaNumber, is_what_strtod_takes_whole) {
    FormulaMaker maker(7);
    int numbers = 0;
    for (int i = 0; i < 100000; ++i) {
        std::string token;
        for (int n = maker.below(9); n >= 0; --n)
            token += "0123.eExXpPaAfFiInNtTyY91"[maker.below(25)];
        if (maker.below(4) == 0) token = "0x" + token;
        if (maker.below(4) == 0) token.insert(token.size() / 2, "e-");
        if (maker.below(4) == 0) token += std::to_string(maker.below(1000));
        if (maker.below(100) == 0) token = i % 2 ? "0xinf" : "0xNaN";
        char* end = nullptr;
        const double expected = std::strtod(token.c_str(), &end);
        double value = 0;
        const bool isNumber = *end == '\0';
        ASSERT_EQ(qvReadFormulaNumber(token, value), isNumber) << token;
        if (!isNumber) continue;
        ++numbers;
        ASSERT_TRUE(value == expected || std::isnan(expected)) << token;
    }
    EXPECT_GT(numbers, 3000);
}

TEST(FormulaNumber, is_the_same_under_every_locale) {
    const CommaLocale comma;
    const double infinity = std::numeric_limits<double>::infinity();
    const std::pair<const char*, double> numbers[] = {{"2.5", 2.5},
                                                      {"2.5e-400", 0},
                                                      {"1.5e999", infinity},
                                                      {"INFINITY", infinity},
                                                      {"0x.8", 0.5}};
    for (const auto& [token, expected] : numbers) {
        double value = 0;
        EXPECT_TRUE(qvReadFormulaNumber(token, value)) << token;
        EXPECT_EQ(value, expected) << token;
    }
}

}  // namespace
