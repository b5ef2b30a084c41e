#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/shapes/weightfunc.h"
#include "qvutils/common/variables/qvnamespace.h"
#include "tests/support/captured_output.h"
#include "tests/support/comma_locale.h"
#include "tests/support/temp_directory.h"

namespace {

class Weights : public testing::Test {
protected:
    std::string error() {
        const std::string message = qverr().chars();
        qverr().reset();
        return message;
    }
    /// The three weights, or what is wrong.
    std::string at(double t) {
        const WeightType w = weight.WeightVal(t);
        QVString text;
        text.sprintf("%.4g %.4g %.4g", w.x, w.y, w.angle);
        return qverr() ? error() : text.Chars();
    }
    std::string set(QVObject& object, const char* name, const char* value) {
        QVCommandElt element = object.getPublishedElt(name);
        if (element.IsNull()) return "nothing published";
        object.SetParam(element, value, name);
        return error();
    }

    CapturedOutput output;
    TempDirectory directory;
    qvNameSpace space;
    WeightFunc weight{&space};
};

TEST_F(Weights, each_kind_of_function_has_its_value_and_the_third_stands_in_for_the_others) {
    const struct {
        const char* text;
        double t;
        const char* weights;
    } rows[] = {
        {"", 0.3, "1 1 1"},
        {"FLAT 0.25", 9, "0.25 0.25 0.25"},
        {"POWER 2", 0.5, "0.25 0.25 0.25"},
        {"POWER 2", -1, "0 0 0"},
        {"POWER 2", 3, "1 1 1"},
        {"POWER 2 RANGE 10 20", 15, "0.25 0.25 0.25"},
        {"SFUNC", 0, "0 0 0"},
        {"SFUNC", 0.5, "0.5 0.5 0.5"},
        {"SFUNC", 1, "1 1 1"},
        {"SFUNC 4", 0.25, "0.0122 0.0122 0.0122"},
        {"SFUNC 1e300", 0.499, "0 0 0"},
        {"FORMULA \"a*t**n + b\" a=2 n = 2 b=-1", 3, "17 17 17"},
        {"FORMULA \"t\" RANGE 1 2", 5, "2 2 2"},
        {"FORMULA \"t\"", 5, "5 5 5"},
        {"X FLAT 0.1 SFUNC", 1, "0.1 1 1"},
        {"Y FLAT 0.2 X FLAT 0.1", 0, "0.1 0.2 1"},
        {"X FORMULA \"a*t\" ANGLE FORMULA \"a+t\" a=3", 2, "6 5 5"},
        {"FLAT +.5\nRANGE\t0 1", 0, "0.5 0.5 0.5"},
    };
    CommaLocale comma;
    for (const auto& row : rows) {
        EXPECT_TRUE(weight.ParseString(row.text)) << row.text;
        EXPECT_EQ(at(row.t), row.weights) << row.text << " at " << row.t;
    }
    EXPECT_EQ(output.takeWarnings(), "");
}

TEST_F(Weights, the_s_curve_rises_and_is_the_same_from_both_ends) {
    weight.ParseString("SFUNC 3 RANGE -2 6");
    double before = 0;
    for (double t = -2; t <= 6; t += 0.125) {
        const double w = weight.WeightVal(t).x;
        EXPECT_GE(w, before) << t;
        EXPECT_NEAR(w + weight.WeightVal(4 - t).x, 1, 1e-12) << t;
        before = w;
    }
}

TEST_F(Weights, a_definition_is_written_as_it_was_read) {
    const std::string same[] = {"",
                                "FLAT 0.5",
                                "X POWER 2 Y POWER \"2*n\" SFUNC 3 RANGE 0 1e-07",
                                "X FORMULA \"a*t\" a=\"w/2\" FORMULA \"max(t, b)\" b=2 c=\"\"",
                                "FILE \"my weights.dat\"",
                                "X FILE weights.dat"};
    for (const std::string& text : same) {
        ASSERT_TRUE(weight.ParseString(text)) << text;
        EXPECT_EQ(weight.getDefString(), text.c_str());
        EXPECT_TRUE(WeightFunc(weight) == weight);
    }
    weight.ParseString("POWER \"2e-\r\" RANGE 0 1");  // reads back as the same
    const std::string text = weight.getDefString().Chars();
    weight.ParseString(text);
    EXPECT_EQ(weight.getDefString(), text.c_str());
    weight.ParseString(" ANGLE   SFUNC  X  FILE \"a.dat\" RANGE 0.0 +2");
    EXPECT_EQ(weight.getDefString(), "X FILE a.dat SFUNC 2 RANGE 0 2");
}

TEST_F(Weights, what_is_no_definition_changes_nothing) {
    weight.ParseString("POWER 3");
    const std::string many = [] {
        std::string text = "FORMULA \"t\"";
        for (int i = 0; i < 101; ++i) text += " p" + std::to_string(i) + "=1";
        return text;
    }();
    const std::pair<std::string, const char*> rows[] = {
        {"FLATT 1", "Unrecognised symbol \"FLATT\"\n"},
        {"FLAT 1 flat 2", "Unrecognised symbol \"flat\"\n"},
        {"X", "Unrecognised symbol \"X\"\n"},
        {"X RANGE 0 1", "Unrecognised symbol \"RANGE\"\n"},
        {"POWER",
         "Invalid weighting function parameters: POWER\n"
         "   required format: POWER exponent\n"},
        {"FLAT inf",
         "Invalid weighting function parameters: FLAT inf\n"
         "   required format: FLAT weight\n"},
        {"RANGE 1",
         "Invalid weighting function parameters: RANGE 1\n"
         "   required format: RANGE start end\n"},
        {"FILE", "Invalid weighting function parameters: FILE\n   required format: FILE name\n"},
        {"FORMULA t",
         "Invalid weighting function parameters: FORMULA t\n"
         "   required format: FORMULA \"formula in t\" name=value ...\n"},
        {"FORMULA \"t\" a=b",
         "Invalid weighting function parameters: FORMULA \"t\" a=b\n"
         "   required format: FORMULA \"formula in t\" name=value ...\n"},
        {"FORMULA \"t\" t=1", "Invalid weighting parameter name t\n"},
        {"FORMULA \"t\" 2a=1", "Invalid weighting parameter name 2a\n"},
        {"FORMULA \"a\" a=1 a=2", "Duplicate weighting parameter name a\n"},
        {"FLAT 1 ANGLE SFUNC", "There is already a weighting function for ANGLE: FLAT\n"},
        {"FORMULA \"t//2\"", "Weighting functions cannot have \"//\"\n"},
        {many, "Weighting functions have at most 100 parameters\n"},
        {"FILE " + std::string(70000, 'a'), "Weighting functions have at most 65536 characters\n"},
    };
    for (const auto& [text, message] : rows) {
        EXPECT_FALSE(weight.ParseString(text)) << text;
        EXPECT_EQ(output.takeWarnings(), message) << text;
        EXPECT_EQ(weight.getDefString(), "POWER 3");
    }
    for (const char* range : {"2 1", "1 1", "-1e308 1e308"}) {
        EXPECT_TRUE(weight.ParseString(std::string("POWER 3 RANGE ") + range));
        EXPECT_EQ(output.takeWarnings(), "WARNING: silly range in Weighting Function\n");
        EXPECT_EQ(weight.getDefString(), "POWER 3");
    }
    EXPECT_EQ(qverr(), 0);
}

TEST_F(Weights, values_follow_their_variables_when_told_to) {
    qvNamedVariable* n = space.Add("n");
    n->SetValue(1);
    weight.ParseString("X POWER \"2*n\" FORMULA \"a+t\" a=\"n+1\"");
    EXPECT_EQ(at(0.5), "0.25 2.5 2.5");
    n->SetValue(2);
    EXPECT_EQ(at(0.5), "0.25 2.5 2.5");
    weight.UpdateParamValues();
    EXPECT_EQ(at(0.5), "0.0625 3.5 3.5");

    EXPECT_EQ(space.RenameEverywhere("n", "order"), 2);
    EXPECT_EQ(weight.getDefString(), "X POWER \"2*order\" FORMULA \"a+t\" a=\"order+1\"");

    qvNameSpace other;
    other.Add("order")->SetValue(0);
    WeightFunc copy;
    copy.CopyFrom(&other, weight);
    weight.ParseString("FLAT 0");
    weight = copy;
    EXPECT_EQ(at(0.5), "1 1.5 1.5");
}

TEST_F(Weights, commands_reach_the_parameters) {
    int changes = 0;
    weight.onChange = [&] { ++changes; };
    weight.ParseString("X POWER 2 FORMULA \"a*t\" a=1");
    QVObject& params = *weight.getPublishedElt("params").getObject();
    EXPECT_EQ(set(params, "a", "2*2"), "");
    EXPECT_EQ(set(weight, "x", "3"), "");
    EXPECT_EQ(at(0.5), "0.125 2 2");
    EXPECT_EQ(changes, 2);
    for (const char* refused : {"1//2", "nosuch", "1/0", "inf"}) {
        EXPECT_EQ(set(params, "a", refused).substr(0, 20), "could not set \"a\" to") << refused;
    }
    output.takeWarnings();
    EXPECT_EQ(at(0.5), "0.125 2 2");
    EXPECT_EQ(set(weight, "angle", "3"), "nothing published");
    weight.getPublishedElt("setdefinition").ExecuteFn("FORMULA \"max(t, b)\" b=2");
    QVString text;
    weight.getPublishedElt("value").ExecuteFn("1").getValueText(text);
    EXPECT_EQ(text, "2 2 2");
    EXPECT_EQ(changes, 3);
    for (const char* refused : {"POWER", "FLAT \"nosuch\"", "FORMULA \"t+a\"", "FILE nowhere"}) {
        weight.getPublishedElt("setdefinition").ExecuteFn(refused);
        EXPECT_TRUE(error().ends_with("the weighting function stays as it was\n")) << refused;
    }
    EXPECT_EQ(weight.getDefString(), "FORMULA \"max(t, b)\" b=2");
    EXPECT_EQ(changes, 3);
}

TEST_F(Weights, several_threads_may_ask_at_once) {
    weight.ParseString("FORMULA \"a*t**2\" a=3");
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < 2000; ++i) {
                const double t = thread + i * 0.25;
                if (weight.WeightVal(t).y != 3 * t * t) ++wrong;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
}

TEST_F(Weights, what_has_no_value_is_told_at_once_and_kept) {
    EXPECT_TRUE(weight.ParseString("FORMULA \"t + widht\""));
    const std::string flaw =
        "weighting formula: undefined variable \"widht\"\nt + widht\n    ^~~~~\n";
    EXPECT_EQ(output.takeWarnings(), flaw);
    EXPECT_EQ(at(1), flaw);
    EXPECT_EQ(weight.getDefString(), "FORMULA \"t + widht\"");

    const std::pair<const char*, const char*> rows[] = {
        {"FORMULA \"1/t\"", "weighting formula at t = 0: division by zero\n1/t\n ^\n"},
        {"POWER -1", "weighting function POWER: no finite weight at t = 0\n"},
        {"FORMULA \"t+a\" a=\"2*\"",
         "weighting function: a has no value\nExpression \"2*\" could not be evaluated: parse "
         "error\n2*\n ^\n"},
        {"SFUNC 0.5", "weighting function SFUNC: a steepness of 0.5 is not possible: at least 1\n"},
    };
    for (const auto& [text, message] : rows) {
        EXPECT_TRUE(weight.ParseString(text)) << text;
        EXPECT_EQ(at(0), message) << text;
    }
    EXPECT_EQ(at(std::numeric_limits<double>::quiet_NaN()),
              "weighting function: t = nan is not possible\n");
}

TEST_F(Weights, a_file_gives_a_spline_through_its_rows) {
    const std::string path = directory.file("weights.dat");
    weight.ParseString("FILE \"" + path + "\"");
    EXPECT_EQ(output.takeWarnings(), "weight file " + path + ": not found\n");
    directory.write("weights.dat", "\xEF\xBB\xBF# t weight\n0 0\r\n\n1; 0.5, more // half\n2\t1\n");
    weight.UpdateParamValues();
    for (const auto& [t, weights] :
         {std::pair(-1, "0 0 0"), std::pair(1, "0.5 0.5 0.5"), std::pair(7, "1 1 1")}) {
        EXPECT_EQ(at(t), weights) << t;
    }
    EXPECT_EQ(at(0.5), "0.25 0.25 0.25");  // the rows lie on a line
    weight.ParseString("FILE \"" + path + "\" RANGE 0.5 1");
    EXPECT_EQ(at(0), "0.25 0.25 0.25");
}

TEST_F(Weights, a_file_that_cannot_be_used_is_named_with_the_line) {
    std::string tooMany;
    for (int i = 0; i <= 65535; ++i) tooMany += std::to_string(i) + " 1\n";
    const std::pair<std::string, const char*> rows[] = {
        {"", "at least two rows of two numbers are needed"},
        {"0 1\n", "at least two rows of two numbers are needed"},
        {"0 1\n1 x2\n", "line 2: the weight \"x2\" is not a number"},
        {"0 1\n\n1 nan\n", "line 3: the weight \"nan\" is not a number"},
        {"0 1\n1\n", "line 2: the weight is missing"},
        {std::string("0 1\n1 \0", 7), "line 2: the weight \"?\" is not a number"},
        {"0 1\n0 2\n", "line 2: t = 0 is not greater than the 0 before it"},
        {"0 1\n" + std::string(5000, ' ') + "\n", "line 2: too long"},
        {tooMany, "line 65536: more than 65535 rows"},
    };
    for (const auto& [content, message] : rows) {
        const std::string path = directory.write("w.dat", content);
        weight.ParseString("FILE \"" + path + "\"");
        const std::string told = "weight file " + path + ": " + message + "\n";
        EXPECT_EQ(output.takeWarnings(), told);
        EXPECT_EQ(at(0), told);
    }
    weight.ParseString("FILE \"" + directory.path() + "\"");
    EXPECT_EQ(at(0), "weight file " + directory.path() + ": not a file\n");
}

}  // namespace
