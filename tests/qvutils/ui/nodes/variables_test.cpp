#include "tests/qvutils/ui/project/project_fixture.h"

namespace {

/// Notes, while its block is read, what a variable is worth.
class ReaderNode : public qvProjectNode {
public:
    QV_CLASS_INFO(ReaderNode)
    bool ReadTB(TextBlock&) override {
        qvNamedVariable* width = GetNameSpace()->Find("width");
        seen = width ? width->GetValueString() : "nothing";
        return true;
    }
    QVString seen;
};
const qvClassInfo ReaderNode::cinfo_ReaderNode("ReaderNode", qvProjectNode::getStaticClassInfo(),
                                               nullptr, qvCreateObject<ReaderNode>);

class VariablesTest : public ProjectTest {
protected:
    VariablesTest() {
        project = addProject();
        variables = addVariables(project, "v");
    }
    static std::string messageHead() { return "Parts of the project could not be loaded"; }
    qvVariablesNode* addVariables(qvProjectNode* parent, const char* name) {
        return static_cast<qvVariablesNode*>(add(parent, name, "variablesTB"));
    }
    /// Reads a block with these lines.
    bool read(qvProjectNode* node, const std::string& lines) {
        TextBlock block;
        EXPECT_TRUE(
            block.LoadBlock(("begin <variablesTB(1.0)> \"v\"\n" + lines + "end\n").c_str()));
        return node->ReadBlock(block);
    }
    std::string body(const qvProjectNode* node) {
        TextBlock block;
        EXPECT_TRUE(block.LoadBlock(textOf(*node).c_str()));
        return std::string(block.body());
    }
    /// The value of a variable of the project, or "-".
    std::string value(const char* name, qvProjectNode* in = nullptr) {
        qvNamedVariable* found = (in ? in : project)->GetNameSpace()->Find(name);
        return found ? found->GetValueString().Chars() : "-";
    }
    std::string run(const char* command, const char* args, qvProjectNode* node = nullptr) {
        QVCommandElt method = (node ? node : variables)->getPublishedElt(command);
        QVString text;
        method.ExecuteFn(args).getValueText(text);
        return qverr() ? error() : text.Chars();
    }

    qvProject* project;
    qvVariablesNode* variables;
};

TEST_F(VariablesTest, a_body_comes_back_with_the_comments_where_they_were) {
    const std::string lines =
        "  // the cross section\n"
        "  width = 0.45 // um\n"
        "  height = 0.22// um\n"
        "  begin <otherTB(1.0)>\n"
        "    a = 1\n"
        "  end\n"
        "  // derived\n"
        "  area = width*height\n"
        "  ratio = width / height\n"
        "  begin= 1\n"
        "  END= 2 // not the end\n"
        "  nothing = \n"
        "  empty = // so far\n"
        "  z = (1,-2)\n"
        "  // last words\n";
    ASSERT_TRUE(read(variables, lines)) << error();
    EXPECT_FALSE(qverr());
    EXPECT_EQ(body(variables), lines);
    EXPECT_EQ(value("area"), "0.099");
    EXPECT_EQ(value("END"), "2");
    EXPECT_EQ(value("z"), "(1,-2)");
    EXPECT_EQ(value("a"), "-");

    run("lowervariable", "width");
    run("removevariable", "area");
    run("addvariable", "n");
    EXPECT_EQ(body(variables),
              "  height = 0.22// um\n"
              "  // the cross section\n"
              "  width = 0.45 // um\n"
              "  begin <otherTB(1.0)>\n"
              "    a = 1\n"
              "  end\n"
              "  // derived\n"
              "  ratio = width / height\n"
              "  begin= 1\n"
              "  END= 2 // not the end\n"
              "  nothing = \n"
              "  empty = // so far\n"
              "  z = (1,-2)\n"
              "  n = 0\n"
              "  // last words\n");
}

TEST_F(VariablesTest, lines_that_define_nothing_are_told_counted_and_kept) {
    addVariables(project, "w");
    run("addvariable", "taken", project->FindChild("w"));
    const std::string lines =
        "  a = 1\n"
        "  b 2 // two\n"
        "  a = 3\n"
        "  2x = 3\n"
        "  sin = 3\n"
        "  = 3\n"
        "  taken = 3\n"
        "  t = \"text\"\n"
        "  c = a = 1\n";
    output.takeWarnings();
    ASSERT_TRUE(read(variables, lines));
    EXPECT_EQ(int(qverr()), 504);
    EXPECT_EQ(error().rfind(messageHead(), 0), 0u);
    EXPECT_EQ(output.takeWarnings(),
              "Missing equals in variable definition: b 2 // two\n"
              "   required format: name = expression\n"
              "Duplicate variable name a\n   in variable definition: a = 3\n"
              "Invalid variable name 2x\n   in variable definition: 2x = 3\n"
              "Invalid variable name sin\n   in variable definition: sin = 3\n"
              "Invalid variable name \n   in variable definition: = 3\n"
              "Duplicate variable name taken\n   in variable definition: taken = 3\n"
              "Double quote in variable definition: t = \"text\"\n");
    EXPECT_EQ(body(variables), lines);
    EXPECT_EQ(value("a"), "1");
}

TEST_F(VariablesTest, a_block_that_cannot_be_read_changes_nothing) {
    read(variables, "  a = 1\n  b = a+1\n");
    for (const char* text : {"begin <variablesTB(1.1)>\n  a = 2\n  c = 3\nend\n",
                             "begin <notesTB(1.0)>\n  a = 2\n  c = 3\nend\n"}) {
        TextBlock block;
        ASSERT_TRUE(block.LoadBlock(text));
        EXPECT_FALSE(variables->ReadBlock(block));
        EXPECT_EQ(error().rfind("Sorry, there was a problem reading the textBlock", 0), 0u);
        EXPECT_EQ(body(variables), "  a = 1\n  b = a+1\n");
        EXPECT_EQ(value("b"), "2");
        EXPECT_EQ(value("c"), "-");
    }
    EXPECT_EQ(output.takeWarnings(),
              "Unsupported version in block beginning: begin <variablesTB(1.1)>\n"
              "   current version: 1.0\n"
              "Unexpected type in block beginning: begin <notesTB(1.0)>\n"
              "   required type: variablesTB\n");
}

TEST_F(VariablesTest, commands_change_the_variables_and_make_the_project_dirty) {
    const struct {
        const char* command;
        const char* args;
        const char* lines;
    } steps[] = {{"addvariable", "a", "  a = 0\n"},
                 {"addvariable", "b", "  a = 0\n  b = 0\n"},
                 {"setvariable", "a, 1.50", "  a = 1.5\n  b = 0\n"},
                 {"setvariable", "b, max(a, 4)", "  a = 1.5\n  b = max(a,4)\n"},
                 {"raisevariable", "b", "  b = max(a,4)\n  a = 1.5\n"},
                 {"lowervariable", "b", "  a = 1.5\n  b = max(a,4)\n"},
                 {"renamevariable", "b, c", "  a = 1.5\n  c = max(a,4)\n"},
                 {"setvariable", "c, \"a\\n+ 1\"", "  a = 1.5\n  c = a + 1\n"},
                 {"setvariable", "a, (1,-2)", "  a = (1,-2)\n  c = a + 1\n"},
                 {"renameeverywhere", "a, x", "  x = (1,-2)\n  c = x + 1\n"},
                 {"removevariable", "x", "  c = x + 1\n"}};
    for (const auto& step : steps) {
        project->setDirty(false);
        const std::string answer = run(step.command, step.args);
        EXPECT_EQ(answer, step.command == std::string("renameeverywhere") ? "1" : "");
        EXPECT_EQ(body(variables), step.lines) << step.command;
        EXPECT_TRUE(project->IsDirty()) << step.command;
    }
    run("setvariable", "c, 2*3");
    project->setDirty(false);
    EXPECT_EQ(run("getvariable", "c"), "6");
    run("raisevariable", "c");
    EXPECT_FALSE(project->IsDirty());
}

TEST_F(VariablesTest, commands_refuse_what_is_wrong_and_change_nothing) {
    run("addvariable", "a");
    run("addvariable", "far", addVariables(project, "w"));
    const struct {
        const char* command;
        const char* args;
        const char* message;
    } cases[] = {{"addvariable", "a", "Duplicate variable name a\n"},
                 {"addvariable", "2a", "Invalid variable name 2a\n"},
                 {"addvariable", "\"\"", "Invalid variable name \n"},
                 {"renamevariable", "a, far", "Duplicate variable name far\n"},
                 {"renamevariable", "a, \"\"", "Invalid variable name \n"},
                 {"renameeverywhere", "a, far", "Duplicate variable name far\n"},
                 {"removevariable", "b", "Variable b not found\n"},
                 {"removevariable", "far", "Variable far not in this variables node\n"},
                 {"setvariable", "far, 1", "Variable far not in this variables node\n"},
                 {"raisevariable", "far", "Variable far not found in this variables node\n"},
                 {"setvariable", "a", "insufficient arguments\n"},
                 {"setvariable", "a, \"1 // 2\"",
                  "a formula cannot have \"//\", which begins a comment in the project file\n"}};
    project->setDirty(false);
    for (const auto& c : cases) {
        EXPECT_EQ(run(c.command, c.args), c.message) << c.command << c.args;
        EXPECT_EQ(body(variables), "  a = 0\n");
    }
    EXPECT_NE(run("setvariable", "a, \"\\\"\""), "");
    EXPECT_EQ(body(variables), "  a = 0\n");
    EXPECT_FALSE(project->IsDirty());
}

TEST_F(VariablesTest, a_mistake_in_a_formula_is_shown_at_once_and_once) {
    read(variables, "  width = 2\n  a = 0\n");
    output.takeWarnings();
    run("setvariable", "a, 1 + widht");
    EXPECT_EQ(output.takeWarnings(),
              "Variable \"a\" refers to undefined variable \"widht\"\n"
              "Variable \"a\" = \"1 + widht\" could not be evaluated: undefined variable "
              "\"widht\"\n"
              "1 + widht\n"
              "    ^~~~~\n"
              "did you mean width?\n");
    EXPECT_EQ(run("getvariable", "a"), "0");
    EXPECT_EQ(output.takeWarnings(), "");
    run("setvariable", "a, a+1");
    EXPECT_EQ(output.takeWarnings(), "Variable \"a\" has circular reference\n");
    run("setvariable", "a, width+1");
    EXPECT_EQ(output.takeWarnings(), "");
}

TEST_F(VariablesTest, variables_leave_and_come_back_with_their_node) {
    read(variables, "  a = 1\n  b = a+1\n");
    qvVariablesNode* w = addVariables(project, "w");
    read(w, "  c = b+1\n");
    EXPECT_EQ(value("c"), "3");
    ASSERT_TRUE(variables->Cut());
    EXPECT_EQ(value("a"), "-");
    EXPECT_EQ(value("c"), "0");
    ASSERT_TRUE(project->Paste("back")) << error();
    EXPECT_EQ(value("c"), "3");
    output.takeWarnings();

    // A copy beside the original defines nothing, until the original is gone.
    ASSERT_TRUE(project->FindChild("back")->Copy());
    EXPECT_TRUE(project->Paste("copy"));
    EXPECT_EQ(error().rfind(messageHead(), 0), 0u);
    EXPECT_EQ(output.takeWarnings(),
              "Duplicate variable name a\n   in variable definition: a = 1\n"
              "Duplicate variable name b\n   in variable definition: b = a+1\n");
    EXPECT_EQ(body(project->FindChild("copy")), "  a = 1\n  b = a+1\n");
    ASSERT_TRUE(project->FindChild("back")->Delete());
    EXPECT_EQ(project->GetNameSpace()->getSize(), 1);

    // Into another project, as one node and as a copy made by the program.
    qvProject* other = addProject("other");
    ASSERT_TRUE(project->RemoveNode(w, false));
    EXPECT_EQ(value("c"), "-");
    ASSERT_TRUE(other->AddNode(w));
    ASSERT_TRUE(project->AddNode(w->newCopy()));
    EXPECT_EQ(body(w), "  c = b+1\n");
    EXPECT_EQ(value("c", other), "0");
    EXPECT_EQ(value("c"), "0");
    EXPECT_EQ(project->GetNameSpace()->getSize(), 1);
}

TEST_F(VariablesTest, a_project_that_is_read_again_has_its_own_variables) {
    read(variables, "  a = 1\n");
    qvProject* other = addProject("other");
    read(addVariables(other, "v"), "  a = 10\n");
    const std::string text = textOf(*project);
    run("setvariable", "a, 5");
    TextBlock block;
    ASSERT_TRUE(block.LoadBlock(text.c_str()));
    ASSERT_TRUE(project->ReadBlock(block)) << error();
    EXPECT_EQ(value("a"), "1");
    EXPECT_EQ(value("a", other), "10");
    // One that cannot be read leaves the old ones.
    ASSERT_TRUE(
        block.LoadBlock("begin <projectTB(9.0)> \"p\"\nbegin <variablesTB(1.0)> \"v\"\n"
                        "a = 7\nend\nend\n"));
    EXPECT_FALSE(project->ReadBlock(block));
    error();
    EXPECT_EQ(value("a"), "1");
    EXPECT_EQ(textOf(*project), text);
}

TEST_F(VariablesTest, objects_may_stand_before_the_variables_that_they_use) {
    qvProjectNodeInfo info;
    info.classInfo = ReaderNode::getStaticClassInfo();
    info.signature = {"readerTB", 1, 0};
    info.displayName = "Reader";
    info.parentTypes = {"projectTB"};
    const qvProjectNodeInfoClass registration(info);
    ASSERT_TRUE(qvProjectNodeInfoClass::Register());
    TextBlock block;
    ASSERT_TRUE(
        block.LoadBlock("begin <projectTB(1.0)> \"p\"\n"
                        "begin <readerTB(1.0)> \"r\"\nend\n"
                        "begin <variablesTB(1.0)> \"v\"\nwidth = 2*gap\nend\n"
                        "begin <variablesTB(1.0)> \"w\"\ngap = 1.25\nend\nend\n"));
    ASSERT_TRUE(project->ReadBlock(block)) << error();
    EXPECT_EQ(static_cast<ReaderNode*>(project->FindChild("r"))->seen, "2.5");
    manager.ClearNodes();
}

// What another part of the program does to the namespace shows in the node.
TEST_F(VariablesTest, a_node_follows_its_namespace) {
    read(variables, "  // first\n  a = 1\n  b = 2\n");
    qvNameSpace* space = project->GetNameSpace();
    qvNameSpaceSnapshot snapshot(space);
    space->Find("b")->SetExpression("a+1");
    snapshot.Restore();
    EXPECT_EQ(body(variables), "  // first\n  a = 1\n  b = 2\n");
    snapshot.Unrestore();
    space->Remove(space->Find("a"));
    EXPECT_EQ(body(variables), "  // first\n  b = a+1\n");
    space->unalloc();
    EXPECT_EQ(variables->getNumVariables(), 0);
    EXPECT_EQ(body(variables), "  // first\n");
    run("addvariable", "c");
    EXPECT_EQ(body(variables), "  c = 0\n  // first\n");
}

}  // namespace
