#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/formula/qvfnparserComm.h"
#include "qvutils/common/tasks/runsignal.h"
#include "qvutils/common/variables/qvnamespace.h"
#include "tests/support/captured_output.h"

namespace {

using Complex = std::complex<double>;

class Evaluation : public testing::Test {
protected:
    qvNamedVariable* add(const char* name, const char* definition) {
        return addTo(space, name, definition);
    }
    static qvNamedVariable* addTo(qvNameSpace& where, const char* name, const char* definition) {
        qvNamedVariable* variable = where.Add(name);
        if (variable) variable->SetValueOrExpression(definition);
        return variable;
    }
    Complex value(const char* name) { return space.Find(name)->GetValue(); }
    std::string warnings() { return output.takeWarnings(); }

    qvNameSpace space;
    CapturedOutput output;
};

TEST_F(Evaluation, a_formula_follows_the_variables_it_uses) {
    add("gap", "1.25");
    add("width", "2*gap+0.5");
    add("phase", "(0,1)");
    add("wave", "width*exp(phase*_PI)");
    EXPECT_EQ(value("width"), 3.0);
    EXPECT_NEAR(value("wave").real(), -3, 1e-12);
    space.Find("gap")->SetValue(2);
    EXPECT_EQ(value("width"), 4.5);
    space.Find("gap")->SetExpression("1e5/1e5");
    EXPECT_EQ(value("width"), 2.5);
    EXPECT_EQ(warnings(), "");
}

TEST_F(Evaluation, mistakes_read_0_and_are_told_once_until_something_changes) {
    add("width", "1");
    qvNamedVariable* v = add("v", "2*wdth+1");
    const std::string message =
        "Variable \"v\" refers to undefined variable \"wdth\"\n"
        "Variable \"v\" = \"2*wdth+1\" could not be evaluated: undefined variable \"wdth\"\n"
        "2*wdth+1\n  ^~~~\ndid you mean width?\n";
    EXPECT_EQ(v->GetValue(), 0.0);
    EXPECT_EQ(warnings(), message);
    EXPECT_EQ(v->GetValue(), 0.0);
    EXPECT_EQ(warnings(), "");
    space.Find("width")->SetValue(2);
    EXPECT_EQ(v->GetValue(), 0.0);
    EXPECT_EQ(warnings(), message);
    EXPECT_EQ(v->GetFlaw(), message.c_str());
    EXPECT_EQ(add("user", "width+2*v")->GetFlaw(), message.c_str());

    v->SetExpression("1/(width-2)");
    EXPECT_EQ(v->GetValue(), 0.0);
    EXPECT_TRUE(QVString(warnings().c_str()).Contains("division by zero\n1/(width-2)\n ^\n"));
    v->SetExpression("v+1");
    EXPECT_EQ(v->GetValue(), 0.0);
    EXPECT_EQ(warnings(), "Variable \"v\" has circular reference\n");

    qvNamedVariable unnamed(&space, qvNamedVariable::temporary, -1);
    unnamed.SetExpression("2*-3");
    EXPECT_EQ(unnamed.GetValue(), 0.0);
    EXPECT_EQ(warnings().substr(0, 66),
              "Expression \"2*-3\" could not be evaluated: parse error\n2*-3\n  ^\n");
}

TEST_F(Evaluation, all_of_a_circle_is_0_and_what_uses_it_reads_0) {
    add("a", "b+1");
    add("b", "a");
    add("user", "a+b+5");
    EXPECT_EQ(value("user"), 5.0);
    const std::string told = warnings();
    EXPECT_EQ(told,
              "Variable a = b+1 is directly or indirectly circular\n"
              "Circular definition: a -> b -> a\n   a = b+1\n   b = a\n");
    EXPECT_EQ(value("a"), 0.0);
    EXPECT_EQ(value("b"), 0.0);
    EXPECT_EQ(warnings(), "");
    for (const char* name : {"a", "b", "user"})
        EXPECT_EQ(space.Find(name)->GetFlaw(), told.c_str()) << name;
    space.Find("b")->SetValue(1);
    EXPECT_EQ(value("user"), 8.0);
    EXPECT_EQ(space.Find("user")->GetFlaw(), "");
    space.Find("a")->SetExpression("a+b");
    space.Find("b")->SetExpression("a");
    EXPECT_EQ(value("a"), 0.0);
    EXPECT_EQ(warnings(),
              "Variable \"a\" has circular reference\n"
              "Circular definition: a -> a\n   a = a+b\n");
}

TEST_F(Evaluation, circles_that_meet_are_0_whichever_is_read_first) {
    const char* names[] = {"a", "b", "c", "d", "e"};
    const char* formulas[] = {"b+c+1", "a+1", "b+1", "a+7", "e+f+1"};
    for (int first = 0; first < 5; ++first) {
        qvNameSpace fresh;
        for (int i = 0; i < 5; ++i) addTo(fresh, names[i], formulas[i]);
        addTo(fresh, "f", "e+1");  // e is also its own
        fresh.Find(names[first])->GetValue();
        for (int i : {0, 1, 2, 4, 5}) EXPECT_EQ(fresh.GetVariable(i)->GetValue(), 0.0) << first;
        EXPECT_EQ(fresh.Find("d")->GetValue(), 7.0);
    }
}

TEST_F(Evaluation, chains_and_circles_of_any_length_need_no_deep_recursion) {
    constexpr int length = 100000;
    std::vector<qvNamedVariable*> chain = {add("x0", "1")};
    for (int i = 1; i < length; ++i) {
        chain.push_back(
            add(("x" + std::to_string(i)).c_str(), ("x" + std::to_string(i - 1) + "+1").c_str()));
    }
    EXPECT_EQ(chain.back()->GetValue(), double(length));
    chain.front()->SetValue(2);
    EXPECT_EQ(chain.back()->GetValue(), length + 1.0);
    chain.front()->SetExpression("x99999");
    EXPECT_EQ(chain[500]->GetValue(), 0.0);
    const std::string told = warnings();
    EXPECT_NE(told.find("and 99980 more\n"), told.npos) << told;
}

TEST_F(Evaluation, huge_formulas_and_thousands_of_mistakes_take_linear_time) {
    QVString huge = "x0";
    for (int i = 1; i < 20000; ++i) huge += "+x" + QVString(std::to_string(i).c_str());
    qvNamedVariable* v = add("v", huge);
    EXPECT_EQ(v->GetValue(), 0.0);
    EXPECT_EQ(QVString(warnings().c_str()).Freq("refers to undefined"), 20);
    for (int i = 0; i < 20000; ++i) add(("x" + std::to_string(i)).c_str(), "lost");
    EXPECT_EQ(v->GetValue(), 0.0);
    EXPECT_EQ(QVString(warnings().c_str()).Freq("could not be evaluated"), 20001);
}

TEST_F(Evaluation, what_was_stopped_is_computed_when_it_is_read_again) {
    add("total", "sum(i=1:10000, 1)");
    add("mean", "total/100");
    {
        const qvRunSignal running;
        qvRunSignal::requestKill();
        EXPECT_EQ(value("mean"), 0.0);
        EXPECT_NE(warnings().find("could not be evaluated: evaluation stopped"), std::string::npos);
    }
    EXPECT_EQ(value("mean"), 100.0);
    EXPECT_EQ(value("total"), 10000.0);
    EXPECT_EQ(warnings(), "");
}

TEST_F(Evaluation, only_what_a_reading_needs_is_computed) {
    static int calls;
    calls = 0;
    QVFuncParserC& registry = QVFuncParserC::TheFuncParser;
    registry.RegisterFunction([](const ParListC& p) { return ++calls, p[0]; }, "counted", 1);
    add("x", "1");
    add("y", "counted(x)");
    add("z", "counted(y)");
    add("other", "counted(x)");
    EXPECT_EQ(value("z"), 1.0);
    EXPECT_EQ(value("z"), 1.0);
    qvNamedVariable unseen(&space, qvNamedVariable::temporary, -1);
    unseen.SetExpression("2*z");
    EXPECT_EQ(unseen.GetValue(), 2.0);
    EXPECT_EQ(calls, 2);
    space.Find("x")->SetValue(3);
    EXPECT_EQ(value("y"), 3.0);
    EXPECT_EQ(calls, 3);
}

TEST_F(Evaluation, names_are_resolved_again_when_they_mean_something_else) {
    qvNameSpace project(&space);
    qvNamedVariable* x = add("x", "1");
    qvNamedVariable* y = addTo(project, "y", "10*x");
    qvNamedVariable parameter(&project, qvNamedVariable::temporary, -1);
    parameter.SetExpression("y+x");
    EXPECT_EQ(parameter.GetValue(), 11.0);
    x->SetValue(2);
    EXPECT_EQ(parameter.GetValue(), 22.0);
    qvNamedVariable* hiding = addTo(project, "x", "3");
    EXPECT_EQ(parameter.GetValue(), 33.0);
    project.Remove(hiding);
    EXPECT_EQ(parameter.GetValue(), 22.0);
    x->SetName("z");
    EXPECT_EQ(y->GetValue(), 0.0);
    warnings();
    add("x", "4");
    EXPECT_EQ(parameter.GetValue(), 44.0);

    // Parents of different age must not look like the state that was read last.
    for (int age = 12; age >= 0; --age) {
        qvNameSpace elsewhere;
        addTo(elsewhere, "x", "1");
        for (int i = 0; i <= age; ++i) elsewhere.Find("x")->SetValue(100 + i);
        project.setParent(&elsewhere);
        EXPECT_EQ(parameter.GetValue(), 11.0 * (100 + age));
        project.setParent(&space);
        EXPECT_EQ(parameter.GetValue(), 44.0);
    }
    EXPECT_EQ(warnings(), "");
}

TEST_F(Evaluation, children_and_temporary_variables_outlive_their_namespaces) {
    auto parent = std::make_unique<qvNameSpace>();
    auto child = std::make_unique<qvNameSpace>(parent.get());
    addTo(*parent, "x", "2");
    qvNamedVariable read(child.get(), qvNamedVariable::temporary, -1);
    qvNamedVariable unread(child.get(), qvNamedVariable::temporary, -1);
    read.SetExpression("x+1");
    unread.SetExpression("x+1");
    EXPECT_EQ(read.GetValue(), 3.0);
    parent.reset();
    EXPECT_EQ(child->getParent(), nullptr);
    EXPECT_EQ(read.GetValue(), 0.0);
    EXPECT_NE(warnings().find("undefined variable \"x\""), std::string::npos);
    addTo(*child, "x", "4");
    EXPECT_EQ(read.GetValue(), 5.0);
    child.reset();
    EXPECT_EQ(read.GetNameSpace(), nullptr);
    EXPECT_EQ(read.GetValue(), 5.0);
    EXPECT_EQ(unread.GetValue(), 0.0);
    EXPECT_EQ(read.GetExpression(), "x+1");
    read.SetValue(1);
    EXPECT_EQ(read.GetValue(), 1.0);
}

TEST_F(Evaluation, listeners_may_read_and_change_variables) {
    struct Follower : qvEventListener {
        explicit Follower(qvNameSpace& space) : space(space) {
            ListenTo(space.GetEventSource(), 0);
        }
        void OnEvent(qvEvent& event, int) override {
            if (event.data1 != space.Find("x")) return;
            const Complex y = space.Find("y")->GetValue();
            if (event.getID() == qvNameSpaceEvent::willChange) before = y;
            if (event.getID() != qvNameSpaceEvent::changed) return;
            after = y;
            space.Find("copy")->SetExpression("y+1");
        }
        qvNameSpace& space;
        Complex before, after;
    };
    add("x", "1");
    add("y", "2*x");
    add("copy", "0");
    Follower follower(space);
    space.Find("x")->SetValue(5);
    EXPECT_EQ(follower.before, 2.0);
    EXPECT_EQ(follower.after, 10.0);
    EXPECT_EQ(value("copy"), 11.0);
}

TEST_F(Evaluation, functions_may_read_and_change_variables_while_a_formula_calls_them) {
    static qvNameSpace* current;
    current = &space;
    QVFuncParserC& registry = QVFuncParserC::TheFuncParser;
    registry.RegisterFunction(
        [](const ParListC&) {
            current->Find("log")->SetValue(current->Find("log")->GetValue() + 1.0);
            return current->Find("inner")->GetValue() + current->Find("outer")->GetValue();
        },
        "reenter", 1);
    add("log", "0");
    add("x", "3");
    add("inner", "2*x");
    add("outer", "reenter(x)+1");
    EXPECT_EQ(value("outer"), 7.0);
    EXPECT_EQ(warnings(), "Variable outer = reenter(x)+1 is directly or indirectly circular\n");
    EXPECT_EQ(value("log"), 1.0);
}

TEST_F(Evaluation, what_is_kept_from_before_never_shows) {
    std::mt19937 random(7);
    const auto pick = [&](int n) { return static_cast<int>(random() % unsigned(n)); };
    const auto name = [&] { return QVString(char('a' + pick(6))); };
    qvNameSpace child(&space);
    qvNamedVariable parameter(&child, qvNamedVariable::temporary, -1);
    parameter.SetExpression("a+b");
    for (int round = 0; round < 1500; ++round) {
        qvNameSpace& where = pick(2) ? child : space;
        qvNamedVariable* v = where.Find(name(), false);
        switch (pick(8)) {
            case 0:
                where.Add(name());
                break;
            case 1:
                where.Remove(v);
                break;
            case 2:
                if (v) v->SetName(name());
                break;
            case 3:
                where.RenameEverywhere(name(), name());
                break;
            case 4:
                if (v) v->SetValue(pick(5));
                break;
            default:
                if (v) v->SetExpression(name() + "+" + name() + "*0.5+1");
        }
        qverr().reset();
        qvNameSpace freshParent(space), fresh(child);
        fresh.setParent(&freshParent);
        qvNamedVariable freshParameter(&fresh, qvNamedVariable::temporary, -1);
        freshParameter.SetExpression(parameter.GetExpression());
        ASSERT_EQ(parameter.GetValue(), freshParameter.GetValue()) << round;
        for (int i = pick(3); i < child.getSize(); ++i) {
            ASSERT_EQ(child.GetVariable(i)->GetValue(), fresh.GetVariable(i)->GetValue()) << round;
        }
    }
}

TEST_F(Evaluation, any_expression_can_take_its_names_from_a_namespace) {
    qvNamedVariable* x = add("x", "2");
    QVExpressionR expression;
    Error error;
    expression.setExpression("x**2");
    expression.setNameSpace(&space);
    ASSERT_TRUE(expression.Compile(error)) << error.chars();
    EXPECT_EQ(expression.getVariableNameSpace(), &space);
    x->SetValue(3);
    EXPECT_EQ(expression.Evaluate(error), 9.0);
    space.Remove(x);
    EXPECT_EQ(expression.Evaluate(error), 0.0);
    EXPECT_TRUE(error);
    error.reset();
    add("x", "4");
    EXPECT_EQ(expression.Evaluate(error), 16.0);
    EXPECT_FALSE(error);
}

}  // namespace
