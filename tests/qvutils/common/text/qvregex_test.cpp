#include "qvutils/common/text/qvregex.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string reported;

/// What making the pattern reports, and whether it agrees with OK().
std::string complaint(const std::string& pattern) {
    reported.clear();
    const auto before = setQVStringErrorHandler([](const char* className, const char* message) {
        reported += std::string(className) + ": " + message;
    });
    const QVRegex regex{QVText(std::string_view(pattern))};
    setQVStringErrorHandler(before);
    EXPECT_EQ(regex.OK(), reported.empty());
    return reported;
}

std::string found(const char* pattern, const QVString& text) {
    return QVString(text.At(QVRegex(pattern))).Chars();
}

TEST(Regex, bare_plus_and_question_mark_are_operators_and_bare_parentheses_are_not) {
    EXPECT_EQ(found("ab+c?", "xabbcc"), "abbc");
    EXPECT_EQ(found("f(x)|y", "f(x)|y"), "f(x)|y");
    EXPECT_EQ(found("\\(ab\\)+\\|c", "ccabab"), "c");
    EXPECT_EQ(found("a\\+", "aa+"), "a+");
    EXPECT_EQ(found("\\(a*\\)b\\1", "aabaa"), "aabaa");
}

TEST(Regex, takes_the_leftmost_and_then_the_longest_match) {
    EXPECT_EQ(found("a\\|ab\\|abc", "xabcd"), "abc");
    EXPECT_EQ(found("\\(a\\|ab\\)\\(c\\|bcd\\)", "abcd"), "abcd");
    EXPECT_EQ(found("x*", "aaxx"), "");
}

TEST(Regex, classes_go_by_byte) {
    EXPECT_EQ(found("[[:alpha:]_]+", "1ab_C2"), "ab_C");
    EXPECT_EQ(found("[[:xdigit:]]+", "xyz1F"), "1F");
    EXPECT_EQ(found("[^[:space:]]+", " \t\xe9t\xe9 "), "\xe9t\xe9");
    EXPECT_EQ(found("[a-z]+", "\xe9Zab"), "ab");
    EXPECT_EQ(found("[\\.d]+", "\\d.x"), "\\d.");
    EXPECT_EQ(found("a.b",
                    "a\nb a\xff"
                    "b"),
              "a\xff"
              "b");
    EXPECT_EQ(found("^b$", "a\nb\nc"), "b");
    EXPECT_EQ(QVString("ab").Index(QVRegex("^b")), -1);
    EXPECT_EQ(QVString("ab").Index(QVRegex("^b"), 1), -1);
    EXPECT_EQ(QVString("ab").Last(QVRegex("\\`b")), -1);
    EXPECT_EQ(QVString("a\0b", 3).Index(QVRegex("b")), 2);
}

TEST(Regex, predefined_patterns_match_what_they_name) {
    EXPECT_TRUE(QVString("-3.25e-7").Matches(QVRXdouble()));
    EXPECT_TRUE(QVString(".5").Matches(QVRXdouble()));
    EXPECT_TRUE(QVString("3.").Matches(QVRXdouble()));
    EXPECT_FALSE(QVString(".").Matches(QVRXdouble()));
    EXPECT_FALSE(QVString("3e").Matches(QVRXdouble()));
    EXPECT_TRUE(QVString("-12").Matches(QVRXint()));
    EXPECT_FALSE(QVString("+12").Matches(QVRXint()));
    EXPECT_TRUE(QVString("_a1").Matches(QVRXidentifier()));
    EXPECT_FALSE(QVString("1a").Matches(QVRXidentifier()));
    EXPECT_TRUE(QVString(" \t\r\n\v\f").Matches(QVRXwhite()));
    EXPECT_TRUE(QVString("aB").Matches(QVRXalpha()) && QVString("a1").Matches(QVRXalphanum()));
    EXPECT_TRUE(QVString("a").Matches(QVRXlowercase()) && QVString("A").Matches(QVRXuppercase()));
}

TEST(Regex, what_is_wrong_with_a_pattern_is_said) {
    EXPECT_EQ(complaint("\\(a"), "QVRegex: Unmatched \\(");
    EXPECT_EQ(complaint("a\\)\\("), "QVRegex: Unmatched \\)");
    EXPECT_EQ(complaint("[a"), "QVRegex: Premature end of regular expression");
    EXPECT_EQ(complaint("a\\"), "QVRegex: Premature end of regular expression");
    EXPECT_EQ(complaint("[[:alpa:]]"), "QVRegex: Invalid regular expression");
    EXPECT_EQ(complaint("[z-a]"), "QVRegex: Invalid regular expression");
    EXPECT_EQ(complaint(std::string(5000, 'a')), "QVRegex: Regular expression too big");
    std::string deep, alternatives = "a";
    for (int i = 0; i < 600; ++i) deep += "\\(";
    for (int i = 0; i < 1300; ++i) alternatives += "\\|b";
    EXPECT_EQ(complaint(deep), "QVRegex: Nesting too deep");
    EXPECT_EQ(complaint(alternatives), "");
    EXPECT_EQ(QVString("aaa").Index(QVRegex("\\(")), -1);
}

TEST(Regex, a_search_without_end_is_given_up_with_a_message) {
    reported.clear();
    const auto before =
        setQVStringErrorHandler([](const char*, const char* message) { reported = message; });
    const QVString text = QV_Replicate('a', 3000);
    EXPECT_EQ(text.Index(QVRegex("\\(a\\|aa\\)*c")), -1);
    EXPECT_EQ(std::exchange(reported, ""), "Regular expression too complex for this text");
    EXPECT_EQ(text.Last(QVRegex("a*a*a*b")), -1);
    EXPECT_EQ(std::exchange(reported, ""), "Regular expression too complex for this text");
    setQVStringErrorHandler(before);
    EXPECT_EQ(QV_Replicate('a', 100000).Index(QVRegex("\\(a\\|b\\)*$")), 0);
}

}  // namespace
