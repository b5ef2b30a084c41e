#include <gtest/gtest.h>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/variables/qvnamespace.h"
#include "tests/support/captured_output.h"

namespace {

class Explain : public testing::Test {
protected:
    static qvNamedVariable* add(qvNameSpace& where, const char* name, const char* definition) {
        qvNamedVariable* variable = where.Add(name);
        if (variable) variable->SetValueOrExpression(definition);
        return variable;
    }
    std::string usersOf(const char* name) {
        std::string text;
        for (const qvNameSpace::Use& use : space.UsersOf(name)) {
            text += (use.direct ? "" : "~") + std::string(use.variable->GetName().Chars()) + " ";
        }
        return text;
    }

    qvNameSpace space;
    CapturedOutput output;
};

TEST_F(Explain, shows_the_tree_of_a_formula_with_each_value) {
    add(space, "gap", "1.25");
    add(space, "width", "2*gap+0.5");
    add(space, "area", "width*max(width, gap)+lost");
    add(space, "a", "b+1");
    add(space, "b", "gap*a");
    EXPECT_EQ(space.Explain("area"),
              "area = width*max(width, gap)+lost  [0]\n"
              "  width = 2*gap+0.5  [3]\n"
              "    gap = 1.25\n"
              "  gap = 1.25\n"
              "  lost is not defined\n");
    EXPECT_EQ(space.Explain("a"),
              "a = b+1  [0]\n"
              "  b = gap*a  [0]\n"
              "    gap = 1.25\n"
              "    a = b+1  [0], circular\n");
    EXPECT_EQ(space.Explain("c"), "c is not defined\n");
    qvNamedVariable parameter(&space, qvNamedVariable::temporary, -1);
    parameter.SetExpression("width+sum(k=1:2, k*width)");
    EXPECT_EQ(parameter.Explain(),
              "width+sum(k=1:2, k*width)  [12]\n"
              "  width = 2*gap+0.5  [3]\n"
              "    gap = 1.25\n");
}

TEST_F(Explain, shows_shared_parts_once_and_has_an_end) {
    add(space, "x0", "1");
    for (int i = 1; i < 1000; ++i) {
        const std::string below = "x" + std::to_string(i - 1);
        add(space, ("x" + std::to_string(i)).c_str(), (below + "+0*(" + below + "*2)").c_str());
    }
    EXPECT_EQ(space.Explain("x2"),
              "x2 = x1+0*(x1*2)  [1]\n"
              "  x1 = x0+0*(x0*2)  [1]\n"
              "    x0 = 1\n");
    EXPECT_LT(space.Explain("x999").Freq('\n'), 50);
    QVString all = "0";
    for (int i = 1; i < 1000; ++i) all += "+x" + QVString(std::to_string(i).c_str());
    add(space, "all", all);
    EXPECT_LE(space.Explain("all").Freq('\n'), 502);
}

TEST_F(Explain, users_are_found_through_other_users_and_where_the_name_is_not_hidden) {
    qvNameSpace child(&space), hidden(&space);
    add(space, "x", "1");
    add(space, "direct", "x+1e5*exp(1)");
    add(space, "indirect", "direct");
    add(space, "other", "sum(x=1:3, x)+e5");
    add(space, "e5", "1");
    add(child, "below", "x");
    add(hidden, "x", "2");
    add(hidden, "its", "x");
    qvNamedVariable parameter(&child, qvNamedVariable::temporary, -1);
    parameter.SetName("parameter");
    parameter.SetExpression("below+indirect");
    EXPECT_EQ(usersOf("x"), "direct ~indirect below ~parameter ");
    EXPECT_EQ(usersOf("its"), "");
    EXPECT_EQ(usersOf("nothing"), "");
}

TEST_F(Explain, renaming_everywhere_rewrites_all_formulas_and_changes_no_value) {
    qvNameSpace child(&space), hidden(&space);
    qvNamedVariable* x = add(space, "x", "2");
    qvNamedVariable* f = add(space, "f", "x + sum(x=1:2, x)*exp (x)");
    add(child, "g", "f+x");
    add(space, "looped", "sum(length=1:2, length*x)");
    qvNamedVariable* own = (add(hidden, "x", "7"), add(hidden, "h", "x+f"));
    qvNamedVariable parameter(&child, qvNamedVariable::temporary, -1);
    parameter.SetExpression("10*x");
    const auto before = parameter.GetValue() + child.Find("g")->GetValue() + own->GetValue() +
                        space.Find("looped")->GetValue();

    EXPECT_EQ(space.RenameEverywhere("x", "length"), 4);
    EXPECT_EQ(x->GetName(), "length");
    EXPECT_EQ(f->GetExpression(), "length + sum(x=1:2, x)*exp (length)");
    EXPECT_EQ(parameter.GetExpression(), "10*length");
    EXPECT_EQ(own->GetExpression(), "x+f");
    EXPECT_EQ(parameter.GetValue() + child.Find("g")->GetValue() + own->GetValue() +
                  space.Find("looped")->GetValue(),
              before);
    EXPECT_EQ(output.takeWarnings(), "");
}

TEST_F(Explain, renaming_everywhere_refuses_what_would_change_a_meaning) {
    qvNameSpace child(&space);
    add(space, "x", "2");
    add(space, "y", "3");
    add(child, "taken", "1");
    add(child, "below", "x+1");
    add(child, "broken", "unknown");
    const struct {
        const char *from, *to, *message;
    } cases[] = {
        {"z", "w", "Variable z not found\n"},
        {"x", "sin", "Invalid variable name sin\n"},
        {"x", "y", "Duplicate variable name y\n"},
        {"x", "taken",
         "Variable x cannot be renamed in all formulas: taken means something else in one of "
         "them\n"},
        {"x", "unknown",
         "Variable x cannot be renamed in all formulas: unknown means something else in one of "
         "them\n"}};
    for (const auto& c : cases) {
        EXPECT_EQ(space.RenameEverywhere(c.from, c.to), -1);
        EXPECT_STREQ(qverr().chars_and_reset(), c.message);
        EXPECT_EQ(child.Find("below")->GetExpression(), "x+1");
        EXPECT_TRUE(space.Find("x"));
    }
}

}  // namespace
