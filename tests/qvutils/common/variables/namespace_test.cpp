#include "qvutils/common/variables/qvnamespace.h"

#include <gtest/gtest.h>

#include <random>

#include "qvutils/common/error/qverror.h"
#include "tests/support/captured_output.h"

namespace {

using Complex = std::complex<double>;

qvNamedVariable* add(qvNameSpace& space, const char* name, const char* definition = "0") {
    qvNamedVariable* variable = space.Add(name);
    EXPECT_TRUE(variable) << name;
    if (variable) variable->SetValueOrExpression(definition);
    return variable;
}

/// Writes down what is announced, with the name as it is at that moment.
struct Journal : qvEventListener {
    explicit Journal(qvNameSpace& space) { ListenTo(space.GetEventSource(), 0); }
    void OnEvent(qvEvent& event, int) override {
        auto& variable = *static_cast<qvNamedVariable*>(event.data1);
        const char* what[] = {"will", "changed", "added", "removing"};
        text += std::string(what[event.getID() - qvNameSpaceEvent::willChange]) + " " +
                variable.GetName().Chars() + "=" + variable.GetExpression().Chars() + ";";
    }
    std::string text;
};

TEST(NameSpace, names_are_identifiers_that_formulas_do_not_use_otherwise) {
    qvNameSpace space;
    qvNamedVariable* a = add(space, "a");
    for (const char* name : {"_x", "2a", "sin", "a-b", " a", "\xc3\xa4", "if"}) {
        EXPECT_FALSE(a->SetName(name)) << name;
    }
    add(space, "b_2");
    EXPECT_FALSE(a->SetName("b_2"));
    EXPECT_EQ(a->GetName(), "a");
    EXPECT_TRUE(a->SetName(""));
    EXPECT_EQ(space.FindVariable("a", false), -1);
    EXPECT_EQ(space.FindVariable("", false), 0);

    CapturedOutput output;
    EXPECT_TRUE(a->SetName("NaN"));
    EXPECT_EQ(output.takeWarnings(), "Formulas read the variable name \"NaN\" as a number\n");
}

TEST(NameSpace, look_up_falls_through_to_parents_and_packs_level_and_index) {
    qvNameSpace top, middle(&top), bottom(&middle);
    add(top, "other");
    qvNamedVariable* x = add(top, "x");
    EXPECT_EQ(bottom.FindVariable("x", true), (2 << 16) + 1);
    EXPECT_EQ(bottom.FindVariable("x", false), -1);
    qvNamedVariable* hiding = add(bottom, "x");
    EXPECT_EQ(bottom.Find("x"), hiding);
    bottom.Remove(hiding);
    EXPECT_EQ(bottom.Find("x"), x);

    top.setParent(&bottom);
    EXPECT_STREQ(qverr().chars_and_reset(), "a namespace cannot be a parent of its own parents\n");
    EXPECT_EQ(top.getParent(), nullptr);
}

TEST(NameSpace, an_index_that_does_not_fit_is_a_code_error) {
    qvNameSpace space;
    for (int i = 0; i < 65537; ++i) space.Add(("v" + std::to_string(i)).c_str());
    EXPECT_EQ(space.FindVariable("v65535", false), 65535);
    EXPECT_EQ(space.FindVariable("v65536", false), -1);
    EXPECT_TRUE(QVString(qverr().chars_and_reset()).Contains("Code Error"));
    EXPECT_EQ(space.Find("v65536"), space.GetVariable(65536));
    EXPECT_DEATH(space.GetVariable(65537),
                 "Dynamic array index 65537 out of bounds 0 <= index < 65537");
}

TEST(NameSpace, order_and_look_up_survive_removal_in_any_order) {
    qvNameSpace space;
    std::vector<std::string> names;
    for (int i = 0; i < 1000; ++i) {
        names.push_back("v" + std::to_string(i));
        space.Add(names.back().c_str());
    }
    std::mt19937 random(1);
    while (!names.empty()) {
        const std::size_t victim = random() % names.size();
        space.Remove(space.Find(names[victim].c_str()));
        names.erase(names.begin() + static_cast<std::ptrdiff_t>(victim));
        ASSERT_EQ(space.getSize(), static_cast<int>(names.size()));
        if (names.size() % 50) continue;  // mostly several go before an index is asked for
        for (std::size_t i = 0; i < names.size(); ++i) {
            ASSERT_EQ(space.GetVariable(static_cast<int>(i))->GetName(), names[i].c_str());
            ASSERT_EQ(space.FindVariable(names[i].c_str(), false), static_cast<int>(i));
        }
    }
}

TEST(NameSpace, values_are_numbers_and_other_text_is_a_formula) {
    qvNameSpace space;
    qvNamedVariable* v = add(space, "v");
    EXPECT_TRUE(v->SetValue("(1, 2)"));
    EXPECT_EQ(v->GetValue(), Complex(1, 2));
    EXPECT_EQ(v->GetValueString(), "(1,2)");
    EXPECT_FALSE(v->SetValue("1e309"));
    EXPECT_TRUE(v->IsValue());
    v->SetValueOrExpression("0.1");
    EXPECT_EQ(v->GetExpression(), "0.1");
    EXPECT_TRUE(v->SetValueOrExpression("a +\r\nb\n+c"));
    EXPECT_EQ(v->GetExpression(), "a + b +c");
    EXPECT_FALSE(v->SetExpression("\"a\""));
    EXPECT_STREQ(qverr().chars_and_reset(), "an expression cannot contain a double quote: \"a\"\n");
    EXPECT_EQ(v->GetExpression(), "a + b +c");
}

TEST(NameSpace, changes_are_announced_before_and_after_and_only_when_there_are_any) {
    qvNameSpace space;
    Journal journal(space);
    qvNamedVariable* a = space.Add("a");
    a->SetValue(2);
    a->SetValue(2);
    a->SetName("b");
    a->SetExpression("c");
    qvNamedVariable unlisted(&space, qvNamedVariable::temporary, -1);
    unlisted.SetValue(7);
    space.Remove(a);
    EXPECT_EQ(journal.text,
              "added =0;will =0;changed a=0;will a=0;changed a=2;will a=2;changed b=2;"
              "will b=2;changed b=c;removing b=c;");
}

TEST(NameSpace, a_subclass_can_enter_take_out_and_announce_variables) {
    struct Open : qvNameSpace {
        using qvNameSpace::AddVariable, qvNameSpace::RemoveVariable;
        using qvNameSpace::NotifyVariableChanged, qvNameSpace::GetPseudoTime;
    } space;
    add(space, "first");
    auto* v = new qvNamedVariable(&space, qvNamedVariable::temporary, -1);
    v->SetName("second");
    EXPECT_EQ(space.Find("second"), nullptr);
    EXPECT_EQ(space.AddVariable(v), 1);
    EXPECT_EQ(space.Find("second"), v);
    space.RemoveVariable(1);
    EXPECT_TRUE(v->IsTemporary());
    EXPECT_EQ(space.getSize(), 1);
    delete v;

    const int before = space.GetPseudoTime();
    int now = 0;
    space.NotifyVariableChanged(-1, &now);
    EXPECT_EQ(now, before + 1);
}

TEST(NameSpace, copies_have_the_same_definitions_and_are_independent) {
    qvNameSpace parent, space(&parent);
    add(space, "a", "2");
    add(space, "b", "a+1");
    qvNameSpace copy(space);
    EXPECT_EQ(copy.getParent(), &parent);
    space.Find("a")->SetValue(5);
    space = copy;
    ASSERT_EQ(space.getSize(), 2);
    EXPECT_EQ(space.GetVariable(0)->GetExpression(), "2");
    EXPECT_EQ(space.GetVariable(1)->GetExpression(), "a+1");

    CheckSum one, other, renamed;
    space.Find("b")->AppendCheckSum(one, 0);
    copy.Find("b")->AppendCheckSum(other, 0);
    EXPECT_EQ(one, other);
    copy.Find("b")->SetName("c");
    copy.Find("c")->AppendCheckSum(renamed, 0);
    EXPECT_FALSE(one == renamed);
}

TEST(NameSpaceSnapshot, puts_back_what_changed_and_forward_again) {
    qvNameSpace space;
    qvNamedVariable *a = add(space, "a", "1"), *b = add(space, "b", "a+1"), *c = add(space, "c");
    qvNameSpaceSnapshot snapshot(&space);
    // Names exchanged, a definition become a value, one removed, one added.
    a->SetName("t"), b->SetName("a"), a->SetName("b");
    b->SetValue(8);
    space.Remove(c);
    qvNamedVariable* d = add(space, "d", "4");

    snapshot.Restore();
    EXPECT_EQ(space.Find("a"), a);
    EXPECT_EQ(space.Find("b"), b);
    EXPECT_EQ(b->GetExpression(), "a+1");
    EXPECT_EQ(space.Find("c"), nullptr);
    space.Remove(d);
    qvNamedVariable* e = add(space, "e");

    snapshot.Unrestore();
    EXPECT_EQ(space.Find("b"), a);
    EXPECT_EQ(space.Find("a"), b);
    EXPECT_EQ(b->GetValue(), 8.0);
    EXPECT_EQ(space.GetVariable(2), e);
}

TEST(NameSpaceSnapshot, leaves_a_name_that_a_newcomer_has_and_outlives_the_namespace) {
    auto space = std::make_unique<qvNameSpace>();
    qvNamedVariable* a = add(*space, "a");
    qvNameSpaceSnapshot snapshot(space.get());
    a->SetName("b");
    qvNamedVariable* newcomer = add(*space, "a");
    CapturedOutput output;
    snapshot.Restore();
    EXPECT_EQ(space->Find("a"), newcomer);
    EXPECT_EQ(space->Find("b"), a);
    EXPECT_EQ(output.takeWarnings(),
              "The variable name \"a\" is in use and was not given back to \"b\"\n");
    space.reset();
    snapshot.Unrestore();
    snapshot.Restore();
}

}  // namespace
