#include "qvutils/qvnr/userDefFunc.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "qvutils/common/blocks/textblock.h"
#include "qvutils/common/error/qverror.h"
#include "tests/support/temp_directory.h"

namespace {

class UserDefFuncTest : public testing::Test {
protected:
    UserDefFuncTest() {
        qverr().reset();
        f.name = "gain";
    }

    static std::string error() { return qverr().chars_and_reset(); }
    bool read(const std::string& text) {
        TextBlock block;
        return block.LoadBlock(text.c_str()) && f.ReadTB(block);
    }
    std::string written() const {
        TextBlock block;
        f.WriteTB(block);
        return std::string(block.text());
    }
    void addData(std::initializer_list<double> xs, double slope) {
        for (const double x : xs) f.AddData(x, slope * x);
        f.functionType = UserDefFunction::cubicSpline;
    }

    UserDefFunction f;
};

TEST_F(UserDefFuncTest, a_line_defines_a_polynomial_with_or_without_x_limits) {
    ASSERT_TRUE(f.ReadDefLine("3 1 0 2"));
    EXPECT_EQ(f.Value(-3), 19);
    ASSERT_TRUE(f.ReadDefLine(" 3 1 0 2 0 1 // one period"));
    f.xName = "detuning";
    f.xUnit = "GHz";
    EXPECT_NEAR(f.Value(1.0000000000001), 3, 1e-12);
    EXPECT_FALSE(qverr());
    EXPECT_EQ(f.Value(1.1), 0);
    EXPECT_EQ(static_cast<int>(qverr()), 4101);
    EXPECT_EQ(error(), "polynomial \"gain\": x:detuning was 1.1 GHz - out of range\n");
    EXPECT_EQ(f.Value(std::numeric_limits<double>::quiet_NaN()), 0);
    EXPECT_TRUE(qverr());
    qverr().reset();
    EXPECT_STREQ(f.WriteDefLine(), "3 1 0 2 0 1");
    f.coefs[1] = 0.1 + 0.2;
    UserDefFunction g;
    ASSERT_TRUE(g.ReadDefLine(f.WriteDefLine()));
    EXPECT_EQ(f, g);
}

TEST_F(UserDefFuncTest, bad_lines_change_nothing) {
    ASSERT_TRUE(f.ReadDefLine("2 5 1"));
    for (const char* line : {"11 1 2 3 4 5 6 7 8 9 10 11", "0", "-1"}) {
        EXPECT_FALSE(f.ReadDefLine(line));
        EXPECT_EQ(static_cast<int>(qverr()), 504);
        EXPECT_EQ(error(), "polynomial \"gain\" - too big\n");
    }
    for (const char* line : {"", "x", "2.5 1 2", "3 1 2", "2 1 nan", "2 1 1e999"}) {
        EXPECT_FALSE(f.ReadDefLine(line)) << line;
        EXPECT_EQ(static_cast<int>(qverr()), 504);
        EXPECT_EQ(error(), "polynomial \"gain\" syntax error\n");
    }
    EXPECT_EQ(f.Value(2), 7);
}

TEST_F(UserDefFuncTest, values_are_clamped_to_y_limits) {
    ASSERT_TRUE(f.ReadDefLine("2 0 1"));
    f.yMin = 0;
    f.yMax = 1;
    f.Prepare();
    EXPECT_EQ(f.Value(3), 1);
    EXPECT_EQ(f.Value(-3), 0);
    f.Rescale(-2);
    f.Prepare();
    EXPECT_EQ(f.Value(0.25), -0.5);
    EXPECT_EQ(f.Value(3), -2);
    f.yMin = -UserDefFunction::noLimit;
    f.yMax = UserDefFunction::noLimit;
    f.Prepare();
    EXPECT_EQ(f.Value(3), -6);
    f.Rescale(3);
    EXPECT_EQ(f.yMin, -UserDefFunction::noLimit);
}

TEST_F(UserDefFuncTest, data_are_kept_in_order_and_feed_a_spline) {
    EXPECT_EQ(f.AddData(3, 6), 1);
    EXPECT_EQ(f.AddData(1, 2), 1);
    EXPECT_EQ(f.AddData(2, 99), 2);
    EXPECT_EQ(f.AddData(std::numeric_limits<double>::infinity(), 0), 0);
    EXPECT_TRUE(qverr());
    qverr().reset();
    EXPECT_TRUE(f.DeleteData(2));
    EXPECT_FALSE(f.DeleteData(3));
    qverr().reset();
    double x = 0, y = 0;
    ASSERT_TRUE(f.GetData(2, x, y));
    EXPECT_EQ(x + y, 9);
    EXPECT_EQ(f.Value(1), 0);  // not prepared
    EXPECT_TRUE(qverr());
    qverr().reset();
    f.functionType = UserDefFunction::cubicSpline;
    ASSERT_TRUE(f.Prepare());
    const UserDefFunction copy = f;
    f.Init();
    EXPECT_NEAR(copy.Value(2.5), 5, 1e-14);
    EXPECT_FALSE(qverr());
    EXPECT_FALSE(f == copy);
}

TEST_F(UserDefFuncTest, the_template_of_the_help_text_loads) {
    ASSERT_TRUE(
        read("begin <UserDefFunc(1.0)> \n      0 1 1\t\t//function type [0->poly; 1->cubic "
             "spline], enable/disable x limits[1:true; 0:false], enable/disable y limits \n"
             "      0 0 0 0\t\t//xMin, xMax, yMin, and Ymax \n"
             "      4\t\t\t\t//polydegree+1 for poly function or data set size for cubic spline "
             "function \n      0 0        // ci polynomial or (x,y) pair for cubic spline "
             "function \n      1 2        //\n      2 3        //\n\t\t 3 3\t\t\t//\nend\n"))
        << error();
    EXPECT_EQ(f.getCoefCount(), 4);
    EXPECT_EQ(f.coefs[3], 3);
    EXPECT_TRUE(f.xLimits && f.yLimits);
    EXPECT_EQ(f.Value(0), 0);
    EXPECT_FALSE(qverr());
}

TEST_F(UserDefFuncTest, blocks_round_trip_with_seven_digits) {
    ASSERT_TRUE(f.ReadDefLine("3 1 -0.0625 2e-7 0 1"));
    EXPECT_EQ(written(),
              "begin <UserDefFunc(1.0)> \"gain\"\n"
              "  0 3 1 0 \t\t\n      0     1 -1e+99 1e+99 \t\t\n"
              "      1 \t\n  -0.0625 \t\n  2e-07 \t\nend\n");
    const UserDefFunction before = f;
    ASSERT_TRUE(read(written())) << error();
    EXPECT_EQ(f, before);
    EXPECT_STREQ(f.name, "gain");

    f.Init();
    addData({0.5, 1, 2.123456789}, 3);
    f.yMin = -1;
    const std::string text = written();  // with the limit, prepared or not
    f.Prepare();
    EXPECT_EQ(written(), text);
    ASSERT_TRUE(read(text)) << error();
    EXPECT_EQ(f.xData[2], 2.123457);
    EXPECT_TRUE(f.yLimits);
    EXPECT_EQ(written(), text);
}

TEST_F(UserDefFuncTest, disabled_y_limits_stay_disabled) {
    ASSERT_TRUE(read("begin <UserDefFunc(1.0)>\n0 1 0 0\n0 0 0 0\n7\nend"));
    EXPECT_EQ(f.Value(1), 7);
}

TEST_F(UserDefFuncTest, bad_blocks_change_nothing) {
    ASSERT_TRUE(f.ReadDefLine("1 5"));
    const std::pair<const char*, const char*> cases[] = {
        {"", "UserDefFunc: missing function type and switches\n"},
        {"0 1", "UserDefFunc: missing function type and switches\n"},
        {"2 1 0 0\n0 0 0 0\n1", "UserDefFunc: there is no function type 2\n"},
        {"0 1 0 0\n0 0 0\n1", "UserDefFunc: missing limits\n"},
        {"0 2 0 0\n0 0 0 0\n1", "UserDefFunc: missing coefficients\n"},
        {"0 0 0\n0 0 0 0", "UserDefFunc: missing coefficients\n"},
        {"1 2 0 0\n0 0 0 0\n1 1\n2", "UserDefFunc: missing coefficients\n"},
        {"0 11 0 0\n0 0 0 0\n1", "UserDefFunc: the size 11 is not between 1 and 10\n"},
        {"1 1 0 0\n0 0 0 0\n1 1", "UserDefFunc: the size 1 is not between 2 and 65535\n"},
        {"0 1 0 0\n0 0 0 0\n1\n2", "UserDefFunc: more lines than its size says\n"}};
    for (const auto& [body, message] : cases) {
        EXPECT_FALSE(read(std::string("begin <UserDefFunc(1.0)>\n") + body + "\nend\n"));
        EXPECT_EQ(error(), message) << body;
    }
    EXPECT_FALSE(read("begin <UserDefFunc(2.0)>\nend\n"));
    EXPECT_TRUE(qverr());
    EXPECT_EQ(f.Value(1), 5);
}

TEST_F(UserDefFuncTest, data_files_have_two_numbers_in_each_row) {
    TempDirectory directory;
    const auto readData = [&](const std::string& content) {
        return f.ReadData(directory.write("data.txt", content).c_str());
    };
    ASSERT_TRUE(readData("// x y\r\n2 4\r\n\r\n1, 2 extra // first\r\n3;\t6")) << error();
    EXPECT_EQ(f.xData, (std::vector<double>{1, 2, 3}));
    EXPECT_EQ(f.yData, (std::vector<double>{2, 4, 6}));

    for (const char* bad : {"", "x y\n1 2\n", "1 2\n3\n", "1 inf\n"}) {
        EXPECT_FALSE(readData(bad)) << bad;
        EXPECT_EQ(error().find("UserDefFunc error::Unrecognised file format while reading file: "),
                  0u);
    }
    EXPECT_FALSE(readData("1 2" + std::string(5000, ' ') + "\n"));
    EXPECT_EQ(error(), "The row of the file is too large!");
    EXPECT_FALSE(f.ReadData(""));
    EXPECT_EQ(error(), "UserDefFunc error::data file not provided!");
    EXPECT_FALSE(f.ReadData("/no/such/file"));
    EXPECT_EQ(error(), "UserDefFunc error::Can't open file /no/such/file");
    EXPECT_EQ(f.getDataSize(), 3);
}

}  // namespace
