#include "qvutils/common/svg/svgdocument.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "qvutils/common/error/qverror.h"
#include "tests/qvutils/common/svg/wellformed.h"
#include "tests/support/comma_locale.h"
#include "tests/support/failing_files.h"
#include "tests/support/temp_directory.h"

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

TEST(SvgNumber, is_short_and_the_same_under_every_locale) {
    const CommaLocale locale;
    EXPECT_EQ(qvSvgNumber(12.5), "12.5");
    EXPECT_EQ(qvSvgNumber(100), "100");
    EXPECT_EQ(qvSvgNumber(-0.001), "0");
    EXPECT_EQ(qvSvgNumber(-0.126), "-0.13");
    EXPECT_EQ(qvSvgNumber(1e300), "1000000000");
    EXPECT_EQ(qvSvgNumber(nan), "0");
}

TEST(SvgText, marks_of_xml_are_escaped_and_what_is_no_text_is_replaced) {
    EXPECT_EQ(qvSvgEscaped("a<b & \"c\">\u00b5\U0001f600"),
              "a&lt;b &amp; &quot;c&quot;&gt;\u00b5\U0001f600");
    EXPECT_EQ(qvSvgEscaped(std::string_view("a\0\x1b\x7f\tb", 6)), "a\tb");
    // A lone lead byte, an overlong form, a surrogate, a stray and a missing continuation byte.
    for (const char* wrong : {"\xc3", "\xc0\x80", "\xed\xa0\x80", "\x80", "\xe2\x82"})
        EXPECT_EQ(qvSvgEscaped(wrong).find("\xef\xbf\xbd"), 0u) << wrong;
    EXPECT_EQ(qvSvgEscaped("\xef\xbf\xbe"), "");
}

TEST(SvgText, fitted_text_is_cut_between_characters) {
    const QVString text("\u00b5\u00b5\u00b5\u00b5\u00b5\u00b5\u00b5\u00b5\u00b5\u00b5");
    EXPECT_EQ(qvSvgFitted(text, 10, 1000), text);
    for (double width = 0; width < 60; ++width) {
        const QVString fitted = qvSvgFitted(text, 10, width);
        EXPECT_EQ(qvSvgEscaped(fitted), fitted.Chars());
        EXPECT_TRUE(fitted == "\u2026" || qvSvgTextWidth(fitted, 10) <= width) << width;
    }
}

TEST(SvgPath, lines_break_at_points_that_are_not_finite) {
    qvSvgPath path;
    path.lineTo(1, -2);
    path.lineTo(3, 4);
    path.lineTo(nan, 4);
    path.lineTo(5, 6);
    path.curveTo(1, 1, 2, 2, 3, 3);
    path.lineTo(7, 8);
    path.close();
    path.close();
    path.arcTo(1, 1, 0, true, false, 2, 2);
    path.moveTo(1, infinity);
    EXPECT_EQ(path.data(), "M1-2 3 4M5 6C1 1 2 2 3 3L7 8ZM2 2");
}

TEST(SvgDocument, is_wellformed_whatever_is_put_in) {
    const std::string nasty("\"'<>&]]>--\0\xff\x1f</svg>", 20);
    const QVString text{std::string_view(nasty)};
    qvSvgDocument document(infinity, -1, text);
    qvSvgStyle style;
    style.stroke = style.fill = style.dash = text;
    style.opacity = nan;
    qvSvgFont font;
    font.colour = text;
    font.angle = -infinity;
    document.closeGroup();
    document.openGroup(text);
    document.openGroup();
    document.closeGroup();
    document.line(nan, 1, infinity, 2, style);
    document.rectangle(0, 0, -1, nan, style);
    document.circle(0, 0, -3, style);
    document.text(1, 2, text, font);
    document.openGroup();
    EXPECT_EQ(xmlFault(document.text()), "");
}

TEST(SvgDocument, saving_replaces_the_file_whole_or_not_at_all) {
    const TempDirectory directory;
    const std::string path = directory.write("drawing.svg", "old");
    const qvSvgDocument document(10, 10);
    EXPECT_FALSE(document.save(directory.file("no/such.svg").c_str()));
    EXPECT_TRUE(std::string(qverr().chars_and_reset()).starts_with("could not write "));
    FailingFiles files(FailingFiles::writing | FailingFiles::syncing | FailingFiles::renaming);
    for (int k = 1; k <= 3; ++k) {
        files.failAt(k);
        EXPECT_FALSE(document.save(path.c_str()));
        EXPECT_TRUE(qverr());
        qverr().reset();
        EXPECT_EQ(contentOf(path), "old");
    }
    files.failNever();
    EXPECT_TRUE(document.save(path.c_str()));
    EXPECT_EQ(contentOf(path), document.text());
}

}  // namespace
