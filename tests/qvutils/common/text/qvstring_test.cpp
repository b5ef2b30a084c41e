#include "qvutils/common/text/qvstring.h"

#include <gtest/gtest.h>

#include <string>
#include <unordered_set>
#include <vector>

#include "qvutils/common/text/checksum.h"
#include "qvutils/common/text/qvregex.h"
#include "qvutils/common/text/qvtokenizer.h"

namespace {

/// Collects what the string classes report.
class Reports {
public:
    Reports() : before_(setQVStringErrorHandler(note)) { text_.clear(); }
    ~Reports() { setQVStringErrorHandler(before_); }
    static std::string take() { return std::exchange(text_, {}); }

private:
    static void note(const char* className, const char* message) {
        text_ += std::string(className) + ": " + message + "\n";
    }
    static inline std::string text_;
    QVStringErrorHandler before_;
};

TEST(String, every_empty_string_is_null_until_it_gets_storage) {
    QVString s;
    EXPECT_TRUE(s.IsNull() && s.Empty() && !s.IsDefined() && s.OK());
    EXPECT_EQ(s.Length(), 0);
    EXPECT_STREQ(s.Chars(), "");
    s = "x";
    s.RemoveLast();
    EXPECT_TRUE(s.Empty() && !s.IsNull() && s.OK());
    QVString moved(std::move(s));
    EXPECT_TRUE(s.IsNull());
    EXPECT_EQ(QV_nilStrRep.len, 0u);
    EXPECT_EQ(sizeof(QVString), sizeof(void*));
}

TEST(String, capacity_doubles_from_32_less_16) {
    QVString s;
    std::vector<int> capacities;
    for (int i = 0; i < 300; ++i) {
        s += static_cast<char>('a' + i % 26);
        if (capacities.empty() || capacities.back() != s.Allocation())
            capacities.push_back(s.Allocation());
    }
    EXPECT_EQ(capacities, (std::vector<int>{16, 48, 112, 240, 496}));
    EXPECT_EQ(s.Length(), 300);
    EXPECT_EQ(s[299], 'a' + 299 % 26);
    QVString empty;
    empty.Alloc(0);
    EXPECT_EQ(empty.Allocation(), 0);
    s = "short";
    EXPECT_EQ(s.Allocation(), 496);
}

TEST(String, impossible_lengths_are_reported_and_change_nothing) {
    const Reports reports;
    QVString s("kept");
    s.Alloc(-1);
    s.Alloc(0x40000000);
    EXPECT_EQ(s, "kept");
    const char* tooLong = "QVString: Requested length out of range\n";
    EXPECT_EQ(Reports::take(), std::string(tooLong) + tooLong);
    EXPECT_EQ(s[4], '\0');
    EXPECT_EQ(s.Elem(-1), '\0');
    EXPECT_EQ(Reports::take(), "QVString: invalid index\nQVString: invalid index\n");
}

TEST(String, null_texts_end_the_program) {
    const char* none = nullptr;
    EXPECT_EXIT(QVString{none}, testing::ExitedWithCode(1), "cs!=NULL.*qvstring");
    EXPECT_EXIT(QVString(none, 3), testing::ExitedWithCode(1), "s != NULL");
    EXPECT_EXIT(QVString("a").Contains(none), testing::ExitedWithCode(1), "pattern!=NULL");
    EXPECT_EXIT(QVString("a").At(0, 1)[1], testing::ExitedWithCode(1), "pos < len");
}

TEST(String, keeps_bytes_of_any_value) {
    const QVString s("a\0b\xff\xc3", 5);
    EXPECT_EQ(s.Length(), 5);
    EXPECT_EQ(QVString(s) + s.At(1, 2), QVString("a\0b\xff\xc3\0b", 7));
    EXPECT_EQ(s.Index('\xff'), 3);
    EXPECT_FALSE(s.IsAscii());
    EXPECT_TRUE(s.From(3) == "\xff\xc3" && QVString("\xff") > "~");
    QVString t = s;
    t.Upcase();
    EXPECT_EQ(t, QVString("A\0B\xff\xc3", 5));
}

TEST(String, edits_may_take_their_text_from_the_string_itself) {
    QVString s("0123456789abcdef");
    s.Append(s);
    EXPECT_EQ(s, "0123456789abcdef0123456789abcdef");
    s.Insert(1, s.At(10, 6));
    EXPECT_EQ(s.Before(8), "0abcdef1");
    s = s.At(1, 6);
    EXPECT_EQ(s, "abcdef");
    s = s.Chars() + 2;
    EXPECT_EQ(s, "cdef");
    EXPECT_EQ(s.GSub("d", s), 1);
    EXPECT_EQ(s, "ccdefef");
    s.Prepend(s);
    EXPECT_EQ(s, "ccdefefccdefef");
    const QVString copy = s;
    s = *&s;
    EXPECT_EQ(s, copy);
}

TEST(String, edits_outside_the_text_touch_only_the_text) {
    QVString s("abc");
    s.Insert(99, "d");
    s.Insert(-1, "x");
    s.Remove(4, 7);
    s.Del(-2, 3);
    EXPECT_EQ(s, "abcd");
    s.Replace(1, 99, "ZZ");
    EXPECT_EQ(s, "aZZ");
    s.Remove(1);
    s.RemoveLast();
    s.RemoveLast();
    EXPECT_EQ(s, "");
    EXPECT_EQ(QVString("abc").At(1, 99), "bc");
    EXPECT_TRUE(QVString("abc").At(4, 1).Empty() && QVString("abc").At(-1, 2).Empty());
}

TEST(String, slices_surround_the_first_match_after_the_start) {
    const QVString s("key=val=end");
    EXPECT_EQ(s.Before('='), "key");
    EXPECT_EQ(s.Through("="), "key=");
    EXPECT_EQ(s.From('=', 4), "=end");
    EXPECT_EQ(s.After("=", 4), "end");
    EXPECT_EQ(s.At(QVRegex("[a-z]+"), 4), "val");
    EXPECT_EQ(s.Before(3), "key");
    EXPECT_EQ(s.Through(3), "key=");
    EXPECT_EQ(s.From(8), "end");
    EXPECT_EQ(s.After(7), "end");
    EXPECT_TRUE(s.Before('?').Empty() && s.Through("?").Empty());
    EXPECT_TRUE(s.From("?").Empty() && s.After('?').Empty() && s.After(99).Empty());
    EXPECT_EQ(s.SubString(4, 3), "val");
    EXPECT_EQ(QVString("  x ").Strip(QVString::leading), "x ");
    EXPECT_EQ(QVString("  x ").Strip(QVString::trailing), "  x");
    EXPECT_EQ(QVString("----").Strip(QVString::both, '-'), "");
}

TEST(String, a_view_of_a_shortened_string_shows_what_is_left) {
    QVString s("abcdef");
    const QVSubString tail = s.From(3);
    s.Remove(4);
    EXPECT_EQ(tail, "d");
    s.Remove(1);
    EXPECT_TRUE(tail.Empty());
}

TEST(String, searches_by_character_text_and_pattern_agree) {
    const QVString s("banana");
    EXPECT_EQ(s.Index('a', 2), 3);
    EXPECT_EQ(s.Index("na", 3), 4);
    EXPECT_EQ(s.Index(QVRegex("n."), 3), 4);
    EXPECT_EQ(s.Last('n'), 4);
    EXPECT_EQ(s.Last("an"), 3);
    EXPECT_EQ(s.Last(QVRegex("an")), 3);
    EXPECT_EQ(s.Freq("ana"), 1);
    EXPECT_EQ(s.Freq('a'), 3);
    EXPECT_EQ(s.Freq(QVRegex("x*")), 7);
    EXPECT_EQ(s.Index("", 6), 6);
    EXPECT_EQ(s.Index("", 7), -1);
    EXPECT_EQ(s.Index("NAN", QVString::ignoreCase), 2);
    EXPECT_EQ(s.Index("NAN", QVString::exact), -1);
    EXPECT_TRUE(s.Contains("nan") && !s.Contains("ban", 1));
    EXPECT_TRUE(s.Matches("nana", 2) && !s.Matches("nan", 2));
    EXPECT_TRUE(s.Matches(QVRegex("[ban]*")) && !s.Matches(QVRegex("[an]*")));
}

TEST(String, global_substitution_does_not_read_its_own_output) {
    QVString s("aXbXc");
    EXPECT_EQ(s.GSub('X', "XX"), 2);
    EXPECT_EQ(s, "aXXbXXc");
    EXPECT_EQ(s.GSub(QVRegex("X+"), ""), 2);
    EXPECT_EQ(s, "abc");
    EXPECT_EQ(s.GSub("?", "!"), 0);
    EXPECT_EQ(s.GSub("", "-"), 4);
    EXPECT_EQ(s, "-a-b-c-");
    EXPECT_TRUE(s.Del('-', 1));
    EXPECT_EQ(s, "-ab-c-");
}

TEST(String, comparison_ignoring_case_ends_with_the_lengths) {
    EXPECT_LT(QVString("abc").CompareTo("abd"), 0);
    EXPECT_EQ(QVString("aBc").CompareTo("AbC", QVString::ignoreCase), 0);
    EXPECT_EQ(QVString("abcde").CompareTo("ABC", QVString::ignoreCase), 2);
    EXPECT_GT(QVString("b").CompareTo("Abc", QVString::ignoreCase), 0);
    EXPECT_TRUE(QVString("a") < "b" && QVString("a") != "b" && "b" > QVString("a"));
    EXPECT_TRUE(QVString("ab").Before('b') == "a" && QVString("a") == QVString("ab").Before(1));
    EXPECT_EQ((std::unordered_set<QVString>{"a", "b", "a"}).size(), 2u);
}

TEST(String, formatted_output_replaces_the_contents_at_any_length) {
    QVString s("old");
    s.sprintf("%s-%d", s.Chars(), 7);
    EXPECT_EQ(s, "old-7");
    for (int n : {1022, 1023, 1024, 2047, 2048, 100000}) {
        const std::string x(static_cast<std::size_t>(n), 'x');
        s.sprintf("%s", x.c_str());
        EXPECT_EQ(s, x.c_str());
    }
}

TEST(String, letters_words_and_digits) {
    QVString s("hello WORLD 2nd");
    s.Capitalize();
    EXPECT_EQ(s, "Hello World 2nd");
    s.Reverse();
    EXPECT_EQ(s, "dn2 dlroW olleH");
    EXPECT_TRUE(QVString("abC").IsWord() && QVString("012").IsNumber());
    EXPECT_FALSE(QVString("a1").IsWord() || QVString("-1").IsNumber());
    EXPECT_TRUE(QVString().IsWord() && QVString().IsNumber());
    EXPECT_EQ(QV_Replicate('x', 3) + QV_Replicate(QVString("ab"), 2), "xxxabab");
    EXPECT_EQ("a" + QVString("b") + 'c' + "d", "abcd");
}

TEST(String, comments_and_newlines_are_removed) {
    QVString s("a // one\nb/\n/c\n// three");
    RemoveComments(s);
    EXPECT_EQ(s, "a b//c");
    s = "http://x";
    RemoveComments(s);
    EXPECT_EQ(s, "http:");
}

TEST(Tokenizer, leaves_out_empty_tokens_and_keeps_delimiters_on_demand) {
    const auto tokens = [](const char* text, const char* delimiters, bool keep) {
        QVStringTokenizer tokenizer(text, delimiters, keep);
        std::vector<std::string> all;
        while (tokenizer.HasMoreTokens()) all.emplace_back(tokenizer.GetNextToken());
        EXPECT_EQ(tokenizer.GetNextToken(), "");
        return all;
    };
    using Tokens = std::vector<std::string>;
    EXPECT_EQ(tokens("a,,b", ",", true), (Tokens{"a", ",", ",", "b"}));
    EXPECT_EQ(tokens("a,,b", ",", false), (Tokens{"a", "b"}));
    EXPECT_EQ(tokens(" a b;c;", " ;", false), (Tokens{"a", "b", "c"}));
    EXPECT_EQ(tokens("", ",", true), Tokens{});
}

TEST(CheckSum, tells_apart_order_division_and_kind_of_zero) {
    const auto sum = [](auto... items) {
        CheckSum s;
        (s.Append(items), ...);
        return s.Value();
    };
    EXPECT_NE(sum("ab", "c"), sum("a", "bc"));
    EXPECT_NE(sum(1, 2), sum(2, 1));
    EXPECT_NE(sum("a"), sum("a", ""));
    EXPECT_EQ(sum(0.0), sum(-0.0));
    EXPECT_EQ(sum("12345678x"), sum("12345678x"));
    EXPECT_TRUE(CheckSum().Empty());
}

}  // namespace
