#include "tests/qvutils/ui/project/project_fixture.h"

namespace {

class ParametersTest : public ProjectTest {
protected:
    ParametersTest() {
        project = addProject();
        node = add(project, "section", "parametersTB");
        vars = add(project, "v", "variablesTB");
    }
    std::string run(const char* command, const char* args, qvProjectNode* on = nullptr) {
        QVString text;
        (on ? on : node)->getPublishedElt(command).ExecuteFn(args).getValueText(text);
        return qverr() ? error() : text.Chars();
    }
    std::string set(const char* name, const char* value) {
        QVCommandElt element = node->getPublishedElt(name);
        node->SetParam(element, value, name);
        return error();
    }
    std::string get(const char* name, qvProjectNode* of = nullptr) {
        QVString text;
        (of ? of : node)->getPublishedElt(name).getValueText(text);
        return text.Chars();
    }
    bool read(const std::string& lines) {
        TextBlock block;
        EXPECT_TRUE(
            block.LoadBlock(("begin <parametersTB(1.0)> \"s\"\n" + lines + "end\n").c_str()));
        return node->ReadBlock(block);
    }
    std::string body(const qvProjectNode* of) {
        TextBlock block;
        EXPECT_TRUE(block.LoadBlock(textOf(*of).c_str()));
        return std::string(block.body());
    }

    qvProject* project;
    qvProjectNode* node;
    qvProjectNode* vars;
};

TEST_F(ParametersTest, each_type_takes_numbers_and_formulas_by_command_and_keeps_them) {
    run("addvariable", "gap", vars);
    run("setvariable", "gap, 0.25", vars);
    run("addparameter", "periods, int");
    run("addparameter", "loss, float, \"dB/cm, at 1550 nm\"");
    run("addparameter", "width, double");
    run("addparameter", "index, complex");
    run("addparameter", "later, double");
    EXPECT_EQ(set("periods", "40*gap"), "");
    EXPECT_EQ(set("loss", "0.1"), "");
    EXPECT_EQ(set("width", "2*gap + 0.5"), "");
    EXPECT_EQ(set("index", "(3.48,-1e-6)"), "");
    const std::string lines =
        "  int periods = 40*gap\n"
        "  float loss = 0.1 // dB/cm, at 1550 nm\n"
        "  double width = 2*gap + 0.5\n"
        "  complex index = (3.48,-1e-06)\n"
        "  double later = \n";
    EXPECT_EQ(body(node), lines);
    EXPECT_EQ(node->getPublishedElt("loss").getDescription(), std::string("dB/cm, at 1550 nm"));
    run("setvariable", "gap, 0.5", vars);
    ASSERT_TRUE(node->Copy());
    ASSERT_TRUE(project->Paste("again")) << error();
    qvProjectNode* again = project->FindChild("again");
    EXPECT_EQ(body(again), lines);
    for (qvProjectNode* n : {node, again}) {
        EXPECT_EQ(get("periods", n), "20");
        EXPECT_EQ(get("width", n), "1.5");
        EXPECT_EQ(get("later", n), "0");
    }
    EXPECT_EQ(run("uses", "gap", vars),
              "section.periods = 40*gap\nsection.width = 2*gap + 0.5\n"
              "again.periods = 40*gap\nagain.width = 2*gap + 0.5\n");
    EXPECT_EQ(run("renameeverywhere", "gap, space", vars), "4");
    EXPECT_EQ(get("width"), "1.5");
    EXPECT_EQ(body(node).substr(0, 25), "  int periods = 40*space\n");
}

TEST_F(ParametersTest, parameters_are_named_renamed_and_removed) {
    const std::string lines =
        "  // bend\n"
        "  double radius = 5 // um\n"
        "  // arc\n"
        "  double angle = 90\n";
    ASSERT_TRUE(read(lines)) << error();
    EXPECT_EQ(body(node), lines);
    EXPECT_EQ(run("addparameter", "x, real"),
              "unknown parameter type \"real\": int, float, double or complex\n");
    EXPECT_EQ(run("addparameter", "2x, int"), "Invalid parameter name 2x\n");
    EXPECT_EQ(run("addparameter", "radius, int"), "Duplicate parameter name radius\n");
    EXPECT_EQ(run("addparameter", "rename, int"), "Reserved parameter name rename\n");
    EXPECT_EQ(run("renameparameter", "radius, angle"), "Duplicate parameter name angle\n");
    EXPECT_EQ(run("removeparameter", "x"), "Parameter x not found\n");
    EXPECT_NE(set("angle", "1 // 2"), "");
    EXPECT_NE(set("angle", "\"a"), "");
    EXPECT_EQ(body(node), lines);
    run("renameparameter", "radius, r");
    EXPECT_EQ(get("r"), "5");
    EXPECT_EQ(get("radius"), "");
    run("removeparameter", "r");
    EXPECT_EQ(body(node), "  // bend\n  // arc\n  double angle = 90\n");
}

TEST_F(ParametersTest, formulas_follow_their_node_into_another_project) {
    run("addvariable", "gap", vars);
    read("  double width = gap+1\n");
    qvProject* other = addProject("other");
    qvProjectNode* otherVars = add(other, "v", "variablesTB");
    run("addvariable", "gap", otherVars);
    run("setvariable", "gap, 7", otherVars);
    ASSERT_TRUE(project->RemoveNode(node, false));
    ASSERT_TRUE(other->AddNode(node));
    manager.RemoveNode(project, true);
    EXPECT_EQ(get("width"), "8");
}

}  // namespace
