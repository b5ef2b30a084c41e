#include "qvutils/common/text/qvnumber.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>

#include "qvutils/common/text/qvregex.h"
#include "tests/support/comma_locale.h"

namespace {

using Complex = std::complex<double>;

std::string printed(const char* format, double value) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, format, value);
    return buffer;
}

/// The number's text, or "refused"; a refused text must leave the target alone.
template <class T>
std::string read(const char* text) {
    T value = T(77);
    if (qvStringToNumber(text, value)) return numtoA(value).Chars();
    EXPECT_EQ(value, T(77)) << text;
    return "refused";
}

/// Doubles of every size, and many with few digits.
double randomDouble(std::mt19937_64& random, int i) {
    if (i % 2) return std::bit_cast<double>(random());
    const int digits = static_cast<int>(random() % 17) + 1;
    const double mantissa =
        std::floor(std::ldexp(static_cast<double>(random() >> 11), -53) * std::pow(10.0, digits));
    return mantissa * std::pow(10.0, static_cast<int>(random() % 40) - 20);
}

TEST(NumberText, formats_are_those_of_printf) {
    std::mt19937_64 random(4711);
    for (int i = 0; i < 20000; ++i) {
        const double x = randomDouble(random, i);
        if (std::isnan(x)) continue;
        ASSERT_EQ(numtoA(x).Chars(), printed("%.16g", x));
        ASSERT_EQ(qvWriteNumber(x).Chars(), printed("%.10g", x));
        ASSERT_EQ(qvNumberToString(x).Chars(), printed("%.8g", x));
        const float f = static_cast<float>(x);
        ASSERT_EQ(numtoA(f).Chars(), printed("%g", f));
    }
    for (double x : {0.0, -0.0, 0.5, 1e5, 1e-5, 123456.5, 1e15, 1e16, 9.5e-5, 2.5, 5e-324, 1e100,
                     static_cast<double>(INFINITY), -static_cast<double>(INFINITY)})
        EXPECT_EQ(numtoA(x).Chars(), printed("%.16g", x));
    EXPECT_EQ(numtoA(std::numeric_limits<double>::quiet_NaN()), "nan");
}

TEST(NumberText, one_third_has_as_many_digits_as_the_purpose_asks) {
    const double third = 1.0 / 3;
    EXPECT_EQ(qvNumberToString(third), "0.33333333");
    EXPECT_EQ(qvWriteNumber(third), "0.3333333333");
    EXPECT_EQ(numtoA(third), "0.3333333333333333");
    EXPECT_EQ(qvNumberToString(1.0f / 3), "0.33333334");
    EXPECT_EQ(numtoA(1.0f / 3), "0.333333");
    EXPECT_EQ(qvNumberToString(Complex(third, -1)), "(0.33333333, -1)");
    EXPECT_EQ(qvWriteNumber(Complex(0, third)), "(0, 0.3333333333)");
    EXPECT_EQ(numtoA(Complex(-0.5, third)), "(-0.5,0.3333333333333333)");
    EXPECT_EQ(qvWriteNumber(-42), "-42");
    EXPECT_EQ(numtoA(std::numeric_limits<long long>::min()), "-9223372036854775808");
    EXPECT_EQ(hexnumtoA(-1), "ffffffff");
}

template <class T>
void expectShortest(T value, const char* text) {
    T back = 77;
    EXPECT_EQ(qvShortestText(value), text);
    EXPECT_TRUE(qvReadShortest(text, back)) << text;
    EXPECT_TRUE(value == back || (value != value && back != back)) << text;
}

TEST(NumberText, the_shortest_text_reads_back_as_the_same_value) {
    std::mt19937_64 random(99);
    for (int i = 0; i < 20000; ++i) {
        const double x = randomDouble(random, i);
        const float f = std::bit_cast<float>(static_cast<unsigned>(random()));
        double xBack = 0;
        float fBack = 0;
        ASSERT_TRUE(qvReadShortest(qvShortestText(x), xBack));
        ASSERT_TRUE(qvReadShortest(qvShortestText(f), fBack)) << qvShortestText(f);
        ASSERT_TRUE(x == xBack || x != x) << qvShortestText(x);
        ASSERT_TRUE(f == fBack || f != f) << qvShortestText(f);
        ASSERT_LE(qvShortestText(f).Length(), 15);
    }
    expectShortest(0.1, "0.1");
    expectShortest(0.1f, "0.1");
    expectShortest(1e23, "1e+23");
    expectShortest(-0.0, "-0");
    expectShortest(-INFINITY, "-inf");
    expectShortest(std::numeric_limits<double>::quiet_NaN(), "nan");
    expectShortest(-7, "-7");
    expectShortest(Complex(1.0 / 3, -2), "(0.3333333333333333,-2)");
    EXPECT_EQ(qvShortestText(Complex(INFINITY, NAN)), "(inf,nan)");
    double number = 77;
    for (const char* text : {"inf", "nan", "-inf"})
        EXPECT_FALSE(qvStringToNumber<double>(text, number));
    // Just above the middle of two floats: rounding to double first would lose what is above.
    float f = 0;
    EXPECT_TRUE(qvStringToNumber<float>("1.000000059604644775390626", f));
    EXPECT_EQ(f, std::nextafter(1.0f, 2.0f));
    EXPECT_EQ(read<float>("3.5e38"), "refused");
    EXPECT_EQ(read<float>("1e-60"), "0");
}

TEST(NumberText, every_written_double_is_read_back_as_strtod_reads_it) {
    std::mt19937_64 random(815);
    for (int i = 0; i < 20000; ++i) {
        const double x = randomDouble(random, i);
        if (!std::isfinite(x)) continue;
        for (const char* format : {"%.17g", "%.16g", "%.25e", "%g"}) {
            const std::string text = printed(format, x);
            double value = 0;
            const double expected = std::strtod(text.c_str(), nullptr);
            ASSERT_EQ(qvStringToNumber(text.c_str(), value), std::isfinite(expected)) << text;
            if (std::isfinite(expected)) {
                ASSERT_EQ(std::bit_cast<std::uint64_t>(value),
                          std::bit_cast<std::uint64_t>(expected))
                    << text;
            }
        }
    }
}

/// The language that the scanner's states accept, written the other way.
bool isNumber(const QVString& text) {
    static const QVRegex number(
        " *[-+]?\\([0-9]+\\(\\.[0-9]*\\)?\\|\\.[0-9]*\\)\\([eE][-+]?[0-9]*\\)? *\\| *[-+] +");
    return text.Matches(number);
}

TEST(NumberText, accepts_exactly_the_language_of_the_scanner) {
    std::mt19937 random(99);
    const std::string alphabet = "00123.eE+-  x\t";
    int accepted = 0;
    for (int i = 0; i < 200000; ++i) {
        QVString text;
        for (int n = static_cast<int>(random() % 7); n > 0; --n)
            text += alphabet[random() % alphabet.size()];
        double value;
        const bool ok = qvStringToNumber(text, value);
        accepted += ok;
        int failed, exponent = atoI(QVString(text.After(QVRegex("[eE]"))), failed);
        // An exponent of three digits is too large by itself or overflows.
        if (exponent < 100) {
            ASSERT_EQ(ok, isNumber(text)) << text.Chars();
        } else if (ok) {
            ASSERT_TRUE(isNumber(text) && exponent <= 308) << text.Chars();
        }
    }
    EXPECT_GT(accepted, 5000);
}

TEST(NumberText, reads_loosely_what_the_states_let_pass) {
    EXPECT_EQ(read<double>("1.5e3"), "1500");
    EXPECT_EQ(read<double>("  12  "), "12");
    EXPECT_EQ(read<double>("+.5e+1"), "5");
    EXPECT_EQ(read<double>("1e"), "1");
    EXPECT_EQ(read<double>("2e- "), "2");
    EXPECT_EQ(read<double>("- "), "-0");
    EXPECT_EQ(read<double>("."), "0");
    EXPECT_EQ(read<double>("-.e5"), "-0");
    EXPECT_EQ(read<double>("-0.0"), "-0");
    for (const char* text : {"", " ", "-", "+", "1 2", "1-", "1e5.", "1e+-5", "e5", "--1", "+-1",
                             "1..2", "0x10", "inf", "nan", "1,5", "12abc", "1\n"})
        EXPECT_EQ(read<double>(text), "refused") << text;
    double value;
    EXPECT_FALSE(qvStringToNumber(QVString("1\0", 2), value));
}

TEST(NumberText, refuses_what_overflows_and_reads_what_is_tiny) {
    EXPECT_EQ(read<double>("1e308"), "1e+308");
    EXPECT_EQ(read<double>("17.9e307"), "1.79e+308");
    EXPECT_EQ(read<double>("4.9e-324"), "4.940656458412465e-324");
    EXPECT_EQ(read<double>("-1e-999999999999"), "-0");
    const std::string zeros(400, '0');
    EXPECT_EQ(read<double>(("0." + zeros + "1").c_str()), "0");
    EXPECT_EQ(read<double>(("0." + zeros + "1e308").c_str()), "9.999999999999999e-94");
    EXPECT_EQ(read<double>(("1" + zeros + "e-400").c_str()), "1");
    EXPECT_EQ(read<double>(("1" + zeros + "e-99").c_str()), "1e+301");
    for (const std::string& text :
         {std::string("1e309"), std::string("0e309"), std::string("180e306"), "1" + zeros,
          "1" + zeros + "e-9", std::string("1e99999999999999999999")})
        EXPECT_EQ(read<double>(text.c_str()), "refused") << text;
    EXPECT_EQ(read<float>("3.4e38"), "3.4e+38");
    EXPECT_EQ(read<float>("3.5e38"), "refused");
}

TEST(NumberText, integers_are_rounded_and_bounded) {
    EXPECT_EQ(read<int>("2.5"), "3");
    EXPECT_EQ(read<int>("-2.5"), "-3");
    EXPECT_EQ(read<int>("1e3"), "1000");
    EXPECT_EQ(read<int>("2147483647"), "2147483647");
    EXPECT_EQ(read<int>("-2147483648"), "refused");
    EXPECT_EQ(read<int>("3000000000"), "refused");
    EXPECT_EQ(read<double>("3000000000"), "3000000000");
}

TEST(NumberText, complex_numbers_are_real_or_in_parentheses) {
    EXPECT_EQ(read<Complex>("(1, 2)"), "(1,2)");
    EXPECT_EQ(read<Complex>("  ( -1.5 ,2e3)  "), "(-1.5,2000)");
    EXPECT_EQ(read<Complex>("7"), "(7,0)");
    for (const char* text : {"(1,2) x", "(1,2", "(1 2)", "(,)", "(1,)", "1,2", "((1,2))", "(1,2,3)",
                             "(1,2))", "()", "x(1,2)"})
        EXPECT_EQ(read<Complex>(text), "refused") << text;
    int i = 0;
    qvComplexToNumber(Complex(-1e10, 5), i);
    EXPECT_EQ(i, -2147483647);
    qvComplexToNumber(Complex(2.5, 5), i);
    EXPECT_EQ(i, 3);
    double d = 0;
    qvComplexToNumber(Complex(2.5, 5), d);
    EXPECT_EQ(d, 2.5);
}

TEST(NumberText, the_loose_readers_take_the_number_at_the_start) {
    int failed = 7;
    EXPECT_EQ(atoI(" -12abc", failed), -12);
    EXPECT_EQ(failed, 0);
    EXPECT_EQ(atoI("99999999999", failed), 2147483647);
    EXPECT_EQ(atoI("-2147483648", failed), std::numeric_limits<int>::min());
    for (const char* text : {"", "x", "-", "+-1", "--1"}) {
        EXPECT_EQ(atoI(text, failed), 0);
        EXPECT_EQ(failed, 1) << text;
        EXPECT_EQ(atoD(text, failed), 0);
        EXPECT_EQ(failed, 1) << text;
    }
    EXPECT_EQ(hexatoI("0xfF", failed), 255);
    EXPECT_EQ(hexatoI("ffffffff", failed), -1);
    EXPECT_EQ(hexatoL("zz", failed), 0);
    EXPECT_EQ(failed, 0);
    EXPECT_EQ(atoD("\t-1.5e2x", failed), -150);
    EXPECT_EQ(atoF("+2.5", failed), 2.5f);
    EXPECT_EQ(atoD("1e999", failed), HUGE_VAL);
    EXPECT_EQ(atoD("-10e9223372036854775807x", failed), -HUGE_VAL);
    EXPECT_EQ(failed, 0);
}

TEST(NumberText, does_not_follow_the_locale) {
    const CommaLocale locale;
    if (!locale.active()) GTEST_SKIP() << "no locale with a decimal comma";
    EXPECT_EQ(numtoA(1.5), "1.5");
    EXPECT_EQ(qvNumberToString(Complex(0.5, 0.25)), "(0.5, 0.25)");
    EXPECT_EQ(read<double>("1.5"), "1.5");
    EXPECT_EQ(read<double>("1,5"), "refused");
    EXPECT_EQ(QVString().sprintf("%.2f", 0.5), "0.50");
    int failed = 0;
    EXPECT_EQ(atoD("1.5", failed), 1.5);
}

}  // namespace
