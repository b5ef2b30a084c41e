// Parameters of all four types in an object, as a user works with them.
#include <gtest/gtest.h>

#include "qvutils/common/object/qvpublishedparameters.h"
#include "qvutils/common/variables/qvnamespace.h"
#include "sample_tree.h"
#include "tests/support/captured_output.h"

namespace {

/// A straight piece of waveguide.
class Section : public QVObject {
public:
    QV_CLASS_INFO(Section)

    Section() {
        gaps.alloc(1, 2);
        inherited.SetParent(&width);
    }
    void OnPublish() override {
        PublishVar("count", count, "number of guides");
        PublishVar("loss", loss, "loss in dB/cm");
        PublishVar("width", width, "width in micrometres");
        PublishVar("index", index, "refractive index");
        PublishVar("gaps", gaps, "gaps between guides");
        PublishVar("inherited", inherited, "as wide as width unless set", true);
    }
    std::string save() {
        std::string text;
        for (const auto& named : qvPublishedParameters(*this)) {
            text += qvPublishedParameters::line(named).Chars();
            text += '\n';
        }
        return text;
    }

    qvParameter<int> count;
    qvParameter<float> loss;
    qvParameter<double> width, inherited;
    qvParameter<std::complex<double>> index;
    Array1d<qvParameter<double>> gaps;
};
const qvClassInfo Section::cinfo_Section("Section", QVObject::getStaticClassInfo());

class SectionSession : public SampleSession {
public:
    QVObject* FindInApp(const char* name) override {
        return std::string(name) == "section" ? &section : SampleSession::FindInApp(name);
    }
    qvNameSpace space;
    Section section;
};

class PublishedParameters : public ::testing::Test {
protected:
    PublishedParameters() {
        session.space.Add("gap")->SetValue(0.25);
        session.space.Add("pitch")->SetExpression("4*gap");
        section.SetNameSpace(&session.space);
    }
    std::string run(const std::string& text) { return session.run(text); }

    SectionSession session;
    Section& section = session.section;
};

TEST_F(PublishedParameters, take_numbers_and_formulas) {
    EXPECT_EQ(run("section.count = 2*pitch; section.count"), "2\n");
    EXPECT_EQ(run("section.loss = 0.1; section.loss"), "0.1\n");
    EXPECT_EQ(run("section.width = \"2*gap + pitch\"; section.width"), "1.5\n");
    EXPECT_EQ(run("section.index = (3.45, -0.1); section.index"), "(3.45,-0.1)\n");
    EXPECT_EQ(run("section.gaps[2] = gap; section.gaps"), "     [1]     0\n     [2]     0.25\n");
    session.space.Find("gap")->SetValue(0.5);
    EXPECT_EQ(run("section.count; section.width; section.inherited"), "4\n3\n3\n");
    EXPECT_EQ(run("section.inherited = 2"), "!\"section.inherited\" is read only!\n");
    run("section.width = ");
    EXPECT_TRUE(section.width.IsUndefined());

    QVCommandElt element = section.getPublishedElt("index");
    EXPECT_EQ(element.getType(), "COMPLEX");
    EXPECT_TRUE(element.SetVal(2.5));
    EXPECT_TRUE(section.index.IsValue() && section.index == 2.5);
    EXPECT_EQ(section.getPublishedElt("count").getType(), "INTEGER");
    EXPECT_EQ(section.getPublishedElt("gaps").getType(), "LIST<FLOAT>");
}

TEST_F(PublishedParameters, show_a_mistake_when_it_is_made) {
    const CapturedOutput output;
    CapturedOutput warnings;
    run("section.width = 2*gup");
    const std::string told = warnings.takeWarnings();
    EXPECT_NE(told.find("gup"), std::string::npos);
    EXPECT_NE(told.find("^~~"), std::string::npos) << told;
    EXPECT_EQ(run("section.width = a\"b"), "!could not set \"section.width\" to \"a\"b\"\n");
    section.SetNameSpace(nullptr);
    EXPECT_EQ(run("section.count = 7; section.count = gap; section.count"),
              "!could not set \"section.count\" to \"gap\"\n7\n");
}

TEST_F(PublishedParameters, tell_why_and_what_uses_a_variable) {
    run("section.width = 2*pitch; section.gaps[1] = gap; section.loss = 3");
    EXPECT_EQ(run("section.why(width)"),
              "width = 2*pitch  [2]\n  pitch = 4*gap  [1]\n    gap = 0.25\n");
    EXPECT_EQ(run("section.why(inherited)").find("inherited is not set and inherits\n"), 0u);
    EXPECT_EQ(run("section.why(count)"), "count is not set, so it is 0\n");
    EXPECT_EQ(run("section.why(loss); section.why(\"gaps[1]\"); section.why(gap)"),
              "loss = 3\ngaps[1] = gap  [0.25]\n  gap = 0.25\ngap = 0.25\n");
    EXPECT_EQ(run("section.uses(gap)"), "width = 2*pitch  (indirectly)\ngaps[1] = gap\n");
    session.space.Add("alone");
    EXPECT_EQ(run("section.uses(alone)"), "nothing uses alone\n");
    EXPECT_EQ(run("section.why(nobody)"), "!could not find item \"nobody\"\n");
    EXPECT_EQ(run("section.uses(nobody)"), "!Variable nobody not found\n");
    const std::string help = run("help section");
    EXPECT_NE(help.find(" uses  FUNCTION"), std::string::npos);
    EXPECT_EQ(run("help app").find(" uses  FUNCTION"), std::string::npos);
}

TEST_F(PublishedParameters, are_saved_and_loaded_line_by_line) {
    run("section.count = 3; section.loss = 0.1; section.width = 2*pitch");
    run("section.index = sqrt(-gap); section.gaps[2] = if(gap<1, 1, 2)");
    const std::string saved = section.save();
    EXPECT_EQ(saved,
              "count = 3\nloss = 0.1\nwidth = \"2*pitch\"\nindex = \"sqrt(-gap)\"\n"
              "gaps[1] = \"\"\ngaps[2] = \"if(gap<1, 1, 2)\"\ninherited = \"\"\n");
    Section loaded;
    loaded.SetNameSpace(&session.space);
    const qvPublishedParameters parameters(loaded);
    for (std::size_t at = 0, end; at < saved.size(); at = end + 1) {
        end = saved.find('\n', at);
        EXPECT_TRUE(parameters.readLine("  " + saved.substr(at, end - at) + " // note\r\n"));
    }
    EXPECT_EQ(loaded.save(), saved);
    EXPECT_EQ(loaded.index.GetValue(), std::complex<double>(0, 0.5));
    EXPECT_TRUE(parameters.readLine("width=\"a//b\"//and a note"));
    EXPECT_EQ(loaded.width.GetExpression(), "a//b");
    for (const char* line : {"", "width", "width = ", "width = x", "width = 2 3", "width = \"gap",
                             "width = \"gap\" 2", "widths = 2", "gaps = 2", "gaps[3] = 2"}) {
        EXPECT_FALSE(parameters.readLine(line)) << line;
    }
    EXPECT_EQ(loaded.width.GetExpression(), "a//b");
}

}  // namespace
