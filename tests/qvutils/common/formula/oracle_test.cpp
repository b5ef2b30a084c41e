// Formulas beside an independent parser, on what both languages have in common.
#include <gtest/gtest.h>
#include <muParser.h>

#include <cmath>
#include <random>
#include <string>

#include "qvutils/common/formula/qvfnparserComm.h"

namespace {

/// Makes the same formula in both languages. Signs, exponents and domains are kept such that every
/// formula has a value and loses no digits.
class TwinMaker {
public:
    struct Twins {
        std::string ours;
        std::string theirs;
    };

    Twins make(int depth) {
        if (depth == 0) return leaf();
        const Twins a = make(depth - 1), b = make(depth - 1);
        switch (below(12)) {
            case 0:
            case 1:
            case 2:
                return join(a, "+", b);
            case 3:
            case 4:
                return join(a, "*", b);
            case 5:
            case 6:
                return join(a, "/", b);
            case 7:
                return {"(" + a.ours + ")**0.5", "(" + a.theirs + ")^0.5"};
            case 8:
                return wrap("sqrt", a);
            case 9:
                return {"ln(1+" + a.ours + ")", "ln(1+" + a.theirs + ")"};
            case 10:
                return {"exp(-1/(1+" + a.ours + "))", "exp(-1/(1+" + a.theirs + "))"};
            default:
                return {
                    "if(" + a.ours + "<" + b.ours + "," + a.ours + "," + b.ours + ")",
                    "((" + a.theirs + "<" + b.theirs + ")?(" + a.theirs + "):(" + b.theirs + "))"};
        }
    }

private:
    int below(int n) { return static_cast<int>(random_() % static_cast<unsigned>(n)); }
    Twins leaf() {
        static const char* const leaves[] = {"x", "y", "0.25", "3", "1e-1", "_pi"};
        const std::string text = leaves[below(6)];
        return {text == "_pi" ? "_PI" : text, text};
    }
    Twins join(const Twins& a, const char* joint, const Twins& b) {
        return {bracket(a.ours) + joint + bracket(b.ours),
                bracket(a.theirs) + joint + bracket(b.theirs)};
    }
    static Twins wrap(const std::string& name, const Twins& a) {
        return {name + "(" + a.ours + ")", name + "(" + a.theirs + ")"};
    }
    static std::string bracket(const std::string& text) { return "(" + text + ")"; }

    std::mt19937 random_{11};
};

TEST(RealFormulas, agree_with_an_independent_parser) {
    TwinMaker maker;
    for (int i = 0; i < 3000; ++i) {
        const TwinMaker::Twins twins = maker.make(1 + i % 4);
        double x = 0.7, y = 1.9;
        mu::Parser theirs;
        theirs.DefineVar("x", &x);
        theirs.DefineVar("y", &y);
        theirs.SetExpr(twins.theirs);
        QVExpressionR ours;
        ours.DeclareParam("x", "");
        ours.DeclareParam("y", "");
        ours.getNameSpace()[1].value[0] = x;
        ours.getNameSpace()[2].value[0] = y;
        ours.setExpression(std::string_view(twins.ours));
        Error error;
        ASSERT_TRUE(ours.Compile(error)) << twins.ours << ": " << error.chars();
        const double expected = theirs.Eval();
        const double value = ours.Evaluate(error);
        if (!std::isfinite(expected)) continue;
        ASSERT_NEAR(value, expected, 1e-12 * std::fabs(expected)) << twins.ours << error.chars();
    }
}

}  // namespace
