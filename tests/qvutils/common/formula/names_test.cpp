// The names in a formula, and showing where it failed.
#include <gtest/gtest.h>

#include <string>

#include "qvutils/common/formula/formulanames.h"

namespace {

std::string namesIn(const char* formula) {
    std::string names;
    qvForEachName(formula, [&](QVText name, int position, int length) {
        names += std::string(name.view()) + "@" + std::to_string(position) + "+" +
                 std::to_string(length) + " ";
    });
    return names;
}

TEST(FormulaNames, are_those_that_the_language_reads) {
    EXPECT_EQ(namesIn("a + sin(b)*1e5 - 1e-3*v[ i ]"), "a@0+1 b@8+1 v@22+1 i@25+1 ");
    EXPECT_EQ(namesIn("wid\tth*2"), "width@0+6 ") << "blanks inside count";
    EXPECT_EQ(namesIn("sum(i=i:n, i*j) + i"), "i@6+1 n@8+1 j@13+1 i@18+1 ");
    EXPECT_EQ(namesIn("inf+nan*0x1F"), "");
    EXPECT_EQ(namesIn("a*(b + 1e5 + f(c"), "a@0+1 b@3+1 c@15+1 ") << "a formula being typed";
    EXPECT_EQ(namesIn(""), "");
}

TEST(FormulaNames, are_renamed_where_they_are_meant) {
    const struct {
        const char* before;
        const char* after;
        int count;
    } cases[] = {
        {"width*2 + sin( width )", "gap*2 + sin( gap )", 2},
        {"width2 + widthx", "width2 + widthx", 0},
        {"wi dth+1", "gap+1", 1},
        {"sum(width=1:width, width) ", "sum(width=1:gap, width) ", 1},
        {"width(3) + width[width]", "width(3) + gap[gap]", 2},
        {"2*width +", "2*gap +", 1},
        {"sum(gap=1:3, gap*width)", "sum(gap_=1:3, gap_*gap)", 1},
        {"gap_+sum(gap=1:3,sum(gap=1:2,gap)*width*gap)",
         "gap_+sum(gap__=1:3,sum(gap=1:2,gap)*gap*gap__)", 1},
    };
    for (const auto& c : cases) {
        int count = -1;
        EXPECT_STREQ(qvRenameInFormula(c.before, "width", "gap", count), c.after);
        EXPECT_EQ(count, c.count) << c.before;
    }
}

TEST(FormulaFault, is_shown_under_the_formula) {
    EXPECT_STREQ(qvShowFault("2*(a", {2, 1, {}}), "2*(a\n  ^\n");
    EXPECT_STREQ(qvShowFault("1<", {2, 1, {}}), "1<\n  ^\n") << "past the end";
    EXPECT_STREQ(qvShowFault("µ\t+ ab", {5, 2, {"aa", "b"}}),
                 "µ + ab\n    ^~\ndid you mean aa, b?\n")
        << "columns are characters on the screen";
    EXPECT_STREQ(qvShowFault("anything", {}), "");
}

TEST(FormulaFault, is_shown_in_a_part_of_a_long_formula) {
    const std::string formula = std::string(500, '1') + "+wrong+" + std::string(500, '2');
    const QVString shown = qvShowFault(std::string_view(formula), {501, 5, {}});
    const int end = shown.Index('\n');
    const int caret = shown.Index('^') - end - 1;
    EXPECT_EQ(end, 76);
    EXPECT_EQ(shown.SubString(caret, 5), "wrong");
    EXPECT_TRUE(shown.Contains("...1"));
    EXPECT_TRUE(shown.Contains("2...\n"));
    const QVString whole = qvShowFault(std::string_view(formula), {0, 1007, {}});
    EXPECT_EQ(whole.Freq('~'), 69);
}

}  // namespace
