#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <string>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/formula/formulaparser.h"
#include "tests/qvutils/common/formula/formula_makers.h"
#include "tests/qvutils/common/formula/splitting_rules.h"

namespace {

std::string listed(const QVFormulaText& text, const QVParsedElement& e) {
    const std::string word(text.view(e.begin, e.end));
    switch (e.op) {
        case QVOp::negate:
            return "negate";
        case QVOp::index:
            return word + "[]";
        case QVOp::call:
            return word == "**" ? word : word + "(" + std::to_string(e.extra) + ")";
        case QVOp::jumpIfZero:
            return "?";
        case QVOp::jump:
            return ":";
        case QVOp::endIf:
            return "endif";
        case QVOp::loopBegin:
            return (e.kind == QVLoopKind::sum ? "sum[" : "prod[") + word + "]{";
        case QVOp::loopEnd:
            return "}";
        default:
            return word;
    }
}

/// The parser's answer in the form of splitByTheRules.
std::string parsed(std::string_view formula) {
    QVFormulaParser parser(formula);
    std::string list;
    try {
        for (const QVParsedElement& e : parser.parse()) list += listed(parser.text(), e) + " ";
    } catch (const Error& error) {
        return std::string("!") + error.chars();
    }
    return list;
}

std::string repeated(const std::string& piece, int times) {
    std::string text;
    for (int i = 0; i < times; ++i) text += piece;
    return text;
}

TEST(FormulaParser, gives_the_answers_of_the_splitting_rules) {
    constexpr int rounds = 20000;
    FormulaMaker maker(20240607);
    std::map<std::string, int> counts;
    for (int i = 0; i < rounds; ++i) {
        const std::string right = maker.formula(maker.below(4));
        for (const std::string& formula :
             {right, maker.bent(right), maker.soup(1 + maker.below(12))}) {
            const std::string expected = splitByTheRules(formula);
            ASSERT_EQ(parsed(formula), expected) << formula;
            ++counts[expected.ends_with("\n") ? expected.substr(1, expected.size() - 2) : "a list"];
        }
    }
    for (const auto& [outcome, count] : counts) {
        std::printf("%6d of %d formulas: %s\n", count, 3 * rounds, outcome.c_str());
    }
    EXPECT_GT(counts["a list"], rounds);
    EXPECT_GT(counts["parse error"], rounds / 4);
    EXPECT_GT(counts["missing bracket"], rounds / 4);
    EXPECT_GT(counts["missing square bracket"], rounds / 20);
    EXPECT_GT(counts["too many arguments to if function"], rounds / 100);
}

/// Every formula of a few characters, so that no corner is left to chance.
TEST(FormulaParser, gives_the_answers_of_the_splitting_rules_for_all_short_formulas) {
    const std::string alphabet = "1e+-*/<=!()[],";
    const std::size_t n = alphabet.size();
    std::size_t count = 0;
    for (std::size_t length = 0, all = 1; length <= 4; ++length, all *= n) {
        for (std::size_t number = 0; number < all; ++number, ++count) {
            std::string formula;
            for (std::size_t rest = number; formula.size() < length; rest /= n) {
                formula += alphabet[rest % n];
            }
            ASSERT_EQ(parsed(formula), splitByTheRules(formula)) << formula;
        }
    }
    std::printf("%zu short formulas\n", count);
}

TEST(FormulaParser, corners_of_the_language) {
    const struct {
        const char* formula;
        const char* answer;
    } cases[] = {
        {"a<b<c", "a b < c < "},
        {"a<=b<c==d", "a b <= c < d == "},
        {"a ===b", "a= b == "},
        {"-a**2", "a 2 ** negate "},
        {"2**(-1)*b", "2 1 negate ** b * "},
        {"1e-3+2.5E+4", "1e-3 2.5E+4 + "},
        {"a e-3", "ae 3 - "},
        {"0x1e-3", "0x1e 3 - "},
        {"prod(i=(a:b):c,1)", "a:b c prod[i]{ 1 } "},
        {"if(a,b,if(c,d,e))", "a ? b : c ? d : e endif endif "},
        {"v[1]x", "!missing square bracket\n"},
        {"f(1]", "!missing bracket\n"},
        {"1++2<(3", "!missing bracket\n"},
        {"(1++2", "!parse error\n"},
        {"", "!parse error\n"},
        {"f(1,)", "!parse error\n"},
        {"1(2)", "2 1(1) "},
        {"sum(i=1,2)", "!parse error\n"},
    };
    for (const auto& c : cases) EXPECT_EQ(parsed(c.formula), c.answer) << c.formula;
}

TEST(FormulaParser, nests_sums_sixteen_levels_deep) {
    const std::string deepest = repeated("sum(i=1:2,", 16) + "i" + std::string(16, ')');
    EXPECT_EQ(parsed(deepest), splitByTheRules(deepest));
    const std::string deeper = "prod(i=1:2," + deepest + ")";
    EXPECT_EQ(parsed(deeper), "!sums and products are nested too deeply\n");
    EXPECT_EQ(splitByTheRules(deeper), parsed(deeper));
    EXPECT_FALSE(parsed("sum(i=" + deepest + ":2,3)").starts_with("!")) << "a bound is outside";
}

TEST(FormulaParser, takes_a_million_characters_of_any_shape_in_linear_time) {
    constexpr int n = 1000000;
    const std::string shapes[] = {
        std::string(n, '('),
        std::string(n, ')'),
        std::string(n, '-'),
        std::string(n, '*'),
        std::string(n, '='),
        std::string(n, 'a'),
        std::string(n / 2, '(') + "1" + std::string(n / 2, ')'),
        std::string(n / 2, '[') + "1" + std::string(n / 2, ']'),
        repeated("1+", n / 2) + "1",
        repeated("1**", n / 3) + "1",
        repeated("1<", n / 2) + "1",
        repeated("1e+", n / 3) + "1",
        repeated("f(1,", n / 5) + "1" + std::string(n / 5, ')'),
        repeated("-(", n / 3) + "1" + std::string(n / 3, ')'),
        repeated("if(1,2,", n / 8) + "3" + std::string(n / 8, ')'),
        repeated("sum(i=1:2,", n / 11) + "3" + std::string(n / 11, ')'),
        repeated("(1)", n / 3),
        "f(" + std::string(n, ',') + ")",
        repeated("(", n / 2) + repeated("1)==", n / 4),
    };
    for (const std::string& shape : shapes) {
        const auto start = std::chrono::steady_clock::now();
        parsed(shape);
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        EXPECT_LT(taken.count(), 5) << shape.substr(0, 20);
    }
}

}  // namespace
