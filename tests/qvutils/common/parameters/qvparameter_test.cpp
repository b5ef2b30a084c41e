#include "qvutils/common/parameters/qvparameter.h"

#include <gtest/gtest.h>

#include <atomic>
#include <bit>
#include <climits>
#include <cmath>
#include <memory>
#include <random>
#include <thread>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/variables/qvnamespace.h"
#include "tests/support/captured_output.h"
#include "tests/support/comma_locale.h"

namespace {

using Complex = std::complex<double>;

/// A namespace with gap = 0.75.
class Parameters : public ::testing::Test {
protected:
    Parameters() { gap->SetValue(0.75); }
    ~Parameters() override { EXPECT_FALSE(qverr()) << qverr().chars_and_reset(); }

    std::string takeError() { return qverr().chars_and_reset(); }

    qvNameSpace space;
    qvNamedVariable* gap = space.Add("gap");
};

template <class T>
class EveryParameter : public Parameters {};
using Types = ::testing::Types<int, float, double, Complex>;
TYPED_TEST_SUITE(EveryParameter, Types);

TYPED_TEST(EveryParameter, holds_nothing_then_a_value_then_an_expression) {
    qvParameter<TypeParam> p;
    EXPECT_TRUE(p.IsUndefined() && p.IsValue());
    EXPECT_EQ(p.GetValue(), TypeParam(0));
    EXPECT_EQ(p.GetExpression(), "");
    p = TypeParam(3);
    EXPECT_FALSE(p.IsUndefined());
    EXPECT_TRUE(p == 3 && 3 == p && p != 4);
    EXPECT_TRUE(p.SetExpression(&this->space, "4*gap"));
    EXPECT_FALSE(p.IsValue());
    EXPECT_TRUE(p == 3);
    this->gap->SetValue(0.5);
    EXPECT_EQ(static_cast<TypeParam>(p), TypeParam(2));
    EXPECT_EQ(p.GetExpression(), "4*gap");
    EXPECT_TRUE(p.SetValueOrExpression(&this->space, " 7 "));
    EXPECT_TRUE(p.IsValue() && p == 7);
    EXPECT_FALSE(p.SetValue("gap"));
    EXPECT_EQ(p.GetValue(), TypeParam(7));
    for (qvNameSpace* none : {&this->space, static_cast<qvNameSpace*>(nullptr)}) {
        p.SetExpression(&this->space, "4*gap");
        EXPECT_EQ(p.SetExpression(none, none ? "" : "gap"), none != nullptr);
        EXPECT_TRUE(p.IsUndefined() && p.IsValue());
        EXPECT_EQ(p.GetValue(), TypeParam(0));
    }
}

TYPED_TEST(EveryParameter, arithmetic_replaces_the_expression_by_the_result) {
    qvParameter<TypeParam> p;
    p.SetExpression(&this->space, "8*gap");
    p += 4;
    p -= 2;
    p *= 3;
    p /= 4;
    EXPECT_TRUE(p.IsValue() && p == 6);
}

TYPED_TEST(EveryParameter, what_is_written_reads_back_as_the_same) {
    qvParameter<TypeParam> p, back = TypeParam(5);
    for (const char* text : {"", "-12", "2*gap", "gap +  if(gap<1, 2, 3) ", "1e309"}) {
        p.SetValueOrExpression(&this->space, text);
        QVString saved = p.Write() + "  rest of it";
        ASSERT_TRUE(back.Read(&this->space, saved)) << text;
        EXPECT_EQ(saved, "rest of it");
        EXPECT_EQ(back.Write(), p.Write());
        EXPECT_EQ(back.IsUndefined(), p.IsUndefined());
        EXPECT_EQ(back.IsValue(), p.IsValue());
    }
}

TEST_F(Parameters, numbers_are_saved_with_the_fewest_digits) {
    const CommaLocale locale;
    EXPECT_EQ(qvParameter<float>(0.1f).Write(), "0.1");
    EXPECT_EQ(qvParameter<double>(0.1f).Write(), "0.10000000149011612");
    EXPECT_EQ(qvParameter<Complex>(Complex(1.0 / 3, -2)).Write(), "(0.3333333333333333,-2)");
    EXPECT_EQ(qvParameter<Complex>(Complex(2)).GetExpression(), "(2,0)");
    std::mt19937_64 random(1);
    for (int i = 0; i < 1000; ++i) {
        const Complex value(std::bit_cast<double>(random()), std::bit_cast<double>(random()));
        QVString saved = qvParameter<Complex>(value).Write();
        Complex back;
        ASSERT_TRUE(qvParameter<Complex>::Read(back, saved));
        ASSERT_TRUE(back.real() == value.real() || std::isnan(value.real()));
        ASSERT_TRUE(back.imag() == value.imag() || std::isnan(value.imag()));
    }
    for (const double value : {HUGE_VAL, -HUGE_VAL}) {
        QVString saved = qvParameter<double>(value).Write();
        qvParameter<double> back;
        EXPECT_TRUE(back.Read(nullptr, saved) && back.IsValue() && back == value);
    }
}

TEST_F(Parameters, a_word_that_is_neither_number_nor_quoted_changes_nothing) {
    qvParameter<double> p(5);
    for (const char* word : {"gap", "", "  ", "\"gap", "2.5\"", "(1,2)", "1e309", "0x10"}) {
        QVString text = word;
        EXPECT_FALSE(p.Read(&space, text)) << word;
        EXPECT_TRUE(p.IsValue() && p == 5) << word;
    }
    QVString text = "\t \"2.5\" gap 7";
    EXPECT_TRUE(p.Read(&space, text));
    EXPECT_TRUE(p.IsValue() && p == 2.5);
    EXPECT_EQ(text, "gap 7");
    EXPECT_FALSE(p.Read(&space, text));
    EXPECT_EQ(text, "7");
}

TEST_F(Parameters, a_double_quote_in_an_expression_is_refused) {
    qvParameter<double> p(5);
    EXPECT_FALSE(p.SetValueOrExpression(&space, "gap\"*2"));
    EXPECT_NE(takeError().find("double quote"), std::string::npos);
    EXPECT_TRUE(p.IsValue() && p == 5);
    p.SetExpression(&space, "gap\r\n+1");
    EXPECT_FALSE(p.SetExpression(&space, "\""));
    takeError();
    EXPECT_EQ(p.Write(), "\"gap +1\"");
}

TEST_F(Parameters, complex_values_are_converted) {
    qvParameter<int> n;
    qvParameter<double> x;
    qvParameter<Complex> z;
    const char* formula = "2.6+sqrt(-4)";
    EXPECT_TRUE(n.SetExpression(&space, formula) && x.SetExpression(&space, formula) &&
                z.SetExpression(&space, formula));
    EXPECT_EQ(n.GetValue(), 3);
    EXPECT_EQ(x.GetValue(), 2.6);
    EXPECT_EQ(z.GetValueString(), "(2.6,2)");
    n.SetExpression(&space, "-1e300");
    EXPECT_EQ(n.GetValue(), -INT_MAX);
    EXPECT_TRUE(z.SetValue(" ( 1, -2 ) "));
    EXPECT_EQ(z.GetValue(), Complex(1, -2));
}

TEST_F(Parameters, whole_numbers_stay_in_their_range) {
    qvParameter<int> n(INT_MAX);
    n += 1;
    EXPECT_EQ(n.GetValue(), INT_MAX);
    n *= -2;
    EXPECT_EQ(n.GetValue(), INT_MIN);
    n /= -1;
    EXPECT_EQ(n.GetValue(), INT_MAX);
    n /= 0;
    EXPECT_EQ(takeError(), "division by zero");
    EXPECT_EQ(n.GetValue(), INT_MAX);
}

TEST_F(Parameters, an_undefined_one_reads_as_its_first_defined_ancestor) {
    qvParameter<double> root, middle, leaf;
    EXPECT_TRUE(middle.SetParent(&root) && leaf.SetParent(&middle));
    EXPECT_EQ(leaf.GetValue(), 0);
    root.SetExpression(&space, "2*gap");
    EXPECT_EQ(leaf.GetValue(), 1.5);
    EXPECT_EQ(leaf.GetExpression(), "2*gap");
    EXPECT_EQ(leaf.GetMyExpression(), "");
    EXPECT_TRUE(leaf == root && leaf.ValueEquals(middle));
    middle = 7.0;
    EXPECT_EQ(leaf.GetValue(), 7);
    leaf += 1;
    middle = 9.0;
    EXPECT_EQ(leaf.GetValue(), 8);
    leaf.SetExpression(&space, "");
    EXPECT_EQ(leaf.GetValue(), 9);
    EXPECT_TRUE(leaf.SetParent(nullptr));
    EXPECT_EQ(leaf.GetValue(), 0);
}

TEST_F(Parameters, parents_cannot_form_a_ring) {
    qvParameter<int> a, b, c;
    EXPECT_TRUE(b.SetParent(&a) && c.SetParent(&b));
    for (const qvParameter<int>* parent : {&a, &b, &c}) {
        EXPECT_FALSE(a.SetParent(parent));
        EXPECT_EQ(takeError(), "a parameter cannot inherit from itself\n");
    }
    EXPECT_EQ(a.GetParent(), nullptr);
    EXPECT_EQ(c.GetValue(), 0);
    a = c;  // copies the definition alone
    EXPECT_EQ(a.GetParent(), nullptr);
}

TEST_F(Parameters, expressions_in_one_namespace_compare_by_their_text) {
    qvNameSpace other;
    other.Add("gap")->SetValue(0.75);
    qvParameter<double> a, b, c;
    a.SetExpression(&space, "2*gap");
    b.SetExpression(&space, "gap*2");
    c.SetExpression(&other, "gap*2");
    EXPECT_FALSE(a == b);
    EXPECT_TRUE(a.ValueEquals(b) && !a.ExpressionEquals(b));
    EXPECT_TRUE(a == c && b.ExpressionEquals(c));
    EXPECT_TRUE(a == qvParameter<double>(1.5));
    gap->SetValue(1);
    EXPECT_FALSE(b == c);
    EXPECT_TRUE(a == qvParameter<double>(a));
}

TEST_F(Parameters, copies_are_evaluated_where_they_are_told) {
    qvNameSpace other;
    other.Add("gap")->SetValue(10);
    qvParameter<double> a, root(3);
    a.SetParent(&root);
    EXPECT_EQ(qvParameter<double>(a).GetValue(), 3);
    EXPECT_EQ(qvParameter<double>(&other, a).GetParent(), nullptr);
    a.SetExpression(&space, "2*gap");
    qvParameter<double> copy(a), moved(&other, a);
    a = 1.0;
    EXPECT_EQ(copy.GetValue(), 1.5);
    EXPECT_EQ(moved.GetValue(), 20);
    moved.CopyFrom(&space, moved);
    EXPECT_EQ(moved.GetValue(), 1.5);
    moved = *&moved;
    EXPECT_EQ(moved.GetExpression(), "2*gap");
    copy = qvParameter<double>();
    EXPECT_TRUE(copy.IsUndefined());
    moved.CopyFrom(nullptr, moved);
    EXPECT_TRUE(moved.IsUndefined());
}

TEST_F(Parameters, outlive_their_namespace_with_their_last_value) {
    auto passing = std::make_unique<qvNameSpace>();
    passing->Add("width")->SetValue(4);
    qvParameter<double> p;
    p.SetExpression(passing.get(), "2*width");
    EXPECT_EQ(p.GetValue(), 8);
    passing.reset();
    EXPECT_EQ(p.GetValue(), 8);
    EXPECT_EQ(p.Write(), "\"2*width\"");
    const qvParameter<double> copy(p);
    EXPECT_TRUE(copy.IsValue() && copy == 8);
    EXPECT_TRUE(p == copy && p == p);
    p.SetExpression(&space, "gap");
    EXPECT_EQ(p.GetValue(), 0.75);
}

TEST_F(Parameters, what_cannot_be_evaluated_is_zero_with_a_warning) {
    CapturedOutput output;
    qvParameter<double> p;
    for (const char* formula : {"nothing+1", "1/(gap-gap)", "2*", "(1,2)"}) {
        EXPECT_TRUE(p.SetExpression(&space, formula));
        EXPECT_EQ(p.GetValue(), 0) << formula;
        EXPECT_NE(output.takeWarnings().find(formula), std::string::npos) << formula;
    }
}

TEST_F(Parameters, follow_a_variable_that_is_renamed_everywhere) {
    qvParameter<double> p;
    p.SetExpression(&space, "gap*gap + 1");
    EXPECT_EQ(space.RenameEverywhere("gap", "slit"), 1);
    EXPECT_EQ(p.GetExpression(), "slit*slit + 1");
    EXPECT_EQ(p.GetValue(), 1.5625);
}

TEST_F(Parameters, check_sums_tell_definitions_apart) {
    const auto sum = [](const qvParameter<double>& p, bool withValue = false) {
        CheckSum s;
        p.AppendCheckSum(s, withValue);
        return s;
    };
    qvParameter<double> undefined, zero(0), number(0.75), formula;
    formula.SetExpression(&space, "gap");
    const CheckSum before = sum(formula), valued = sum(formula, true);
    EXPECT_NE(sum(undefined), sum(zero));
    EXPECT_NE(sum(number), before);
    EXPECT_EQ(before, sum(qvParameter<double>(formula)));
    gap->SetValue(2);
    EXPECT_EQ(before, sum(formula));
    EXPECT_NE(valued, sum(formula, true));
}

TEST_F(Parameters, are_read_by_several_threads_while_variables_change) {
    qvNamedVariable* twice = space.Add("twice");
    twice->SetExpression("2*gap");
    qvParameter<double> p, child;
    p.SetExpression(&space, "twice-2*gap");
    child.SetParent(&p);
    std::atomic<bool> stop = false;
    std::atomic<int> torn = 0;
    const auto read = [&] {
        while (!stop) torn += p.GetValue() != 0 || child.GetValue() != 0;
    };
    std::thread first(read), second(read);
    for (int i = 0; i < 2000; ++i) gap->SetValue(i);
    stop = true;
    first.join();
    second.join();
    EXPECT_EQ(torn, 0);
}

}  // namespace
