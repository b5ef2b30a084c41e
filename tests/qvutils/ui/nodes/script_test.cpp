#include "qvutils/ui/nodes/qvscriptnode.h"

#include <gtest/gtest.h>

#include <string>

#include "qvutils/common/error/qverror.h"
#include "tests/qvutils/ui/project/project_fixture.h"

namespace {

class ScriptTest : public ProjectTest {
protected:
    ScriptTest() {
        registerScriptNode();
        node_ = static_cast<qvScriptNode*>(add(addProject(), "s", "scriptTB"));
    }
    bool read(const std::string& text) {
        TextBlock block;
        EXPECT_TRUE(block.LoadBlock(text.c_str()));
        return node_->ReadBlock(block);
    }
    void call(const char* method, const char* arguments) {
        node_->getPublishedElt(method).ExecuteFn(arguments);
    }
    void set(QVCommandElt element, const char* value) { node_->SetParam(element, value, "path"); }

    qvScriptNode* node_;
};

TEST_F(ScriptTest, is_written_with_language_parameters_and_text) {
    node_->setLanguage(qvScriptNode::python);
    node_->AppendParameter("a b");
    node_->AppendParameter("");
    node_->setText("for i in x:\n    f(i)  // 2");
    EXPECT_EQ(textOf(*node_),
              "begin <scriptTB(1.0)> \"s\"\n"
              "  1 //script language\n"
              "  PARAMETER = a b\n"
              "  PARAMETER = \n"
              "  >for i in x:\n"
              "  >    f(i)  // 2\n"
              "end\n");
}

TEST_F(ScriptTest, any_script_survives_its_block) {
    for (const std::string& text :
         {std::string(), std::string("a\n"), std::string("\n\n"), std::string("end\nbegin <x>\n"),
          std::string("PARAMETER = 1\n1 //script language\n"), std::string("\t>>> \"\xC3\xA9\"\n"),
          std::string(200000, 'x') + "\n"}) {
        node_->setLanguage(-3);
        node_->ClearParameters();
        for (const char* parameter : {"", " x ", "=", "http://a // b", "\"q\"", "\\", "\t"}) {
            node_->AppendParameter(parameter);
        }
        node_->setText(text.c_str());
        const std::string block = textOf(*node_);
        node_->ClearText();
        node_->ClearParameters();
        ASSERT_TRUE(read(block));
        EXPECT_EQ(node_->getText(), text.c_str());
        EXPECT_EQ(node_->getLanguage(), -3);
        EXPECT_EQ(node_->getParameters().size(), 7);
        EXPECT_EQ(textOf(*node_), block);
    }
}

TEST_F(ScriptTest, comments_stay_and_what_is_no_script_is_reported_and_kept) {
    const std::string block =
        "begin <scriptTB(1.0)> \"s\" // mine\n"
        "  // before\n"
        "  0 // by hand\n"
        "  PARAMETER=x\n"
        "  1 //script language\n"
        "  nonsense\n"
        "  // inside\n"
        "  >a\n"
        "end // done\n";
    ASSERT_TRUE(read(block));
    EXPECT_EQ(output.takeWarnings(),
              "Unknown line in script: 1 //script language\n"
              "Unknown line in script: nonsense\n");
    EXPECT_NE(error(), "");
    EXPECT_EQ(node_->getText(), "a\n");
    EXPECT_EQ(node_->getLanguage(), 0);
    EXPECT_EQ(node_->getParameters()[1], "x");
    EXPECT_EQ(textOf(*node_),
              "begin <scriptTB(1.0)> \"s\" // mine\n"
              "  // before\n"
              "  0 //script language\n"
              "  PARAMETER = x\n"
              "  // inside\n"
              "  >a\n"
              "  1 //script language\n"
              "  nonsense\n"
              "end // done\n");
    EXPECT_FALSE(read("begin <scriptTB(2.0)>\nend\n"));
    EXPECT_EQ(node_->getText(), "a\n");
}

TEST_F(ScriptTest, commands_change_it) {
    qvProject& project = *node_->getRootProject();
    const auto changes = [&](auto change) {
        project.setDirty(false);
        change();
        EXPECT_EQ(error(), "");
        return project.IsDirty();
    };
    EXPECT_TRUE(changes([&] { set(node_->getPublishedElt("text"), "one\n"); }));
    EXPECT_TRUE(changes([&] { call("appendtext", "\"two\\n\""); }));
    EXPECT_EQ(node_->getText(), "one\ntwo\n");
    EXPECT_TRUE(changes([&] { call("cleartext", ""); }));
    EXPECT_EQ(node_->getText(), "");
    EXPECT_TRUE(changes([&] { set(node_->getPublishedElt("language"), "1"); }));
    EXPECT_EQ(node_->getLanguage(), qvScriptNode::python);
    EXPECT_TRUE(changes([&] { call("appendpar", "\"a, b\""); }));
    QVCommandElt parameter = node_->getPublishedElt("parlist");
    parameter.enterEntry(1, 0);
    EXPECT_TRUE(changes([&] { set(parameter, "c"); }));
    EXPECT_EQ(node_->getParameters()[1], "c");
    EXPECT_TRUE(changes([&] { call("clearparlist", ""); }));
    EXPECT_EQ(node_->getParameters().size(), 0);
}

TEST_F(ScriptTest, a_parameter_is_one_line) {
    call("appendpar", "\"a\\nb\"");
    EXPECT_EQ(error(), "a parameter may not hold a line break: \"a\nb\"\n");
    call("appendpar", "\"a\\rb\"");
    EXPECT_NE(error(), "");
    EXPECT_EQ(node_->getParameters().size(), 0);
    node_->AppendParameter("a");
    QVCommandElt parameter = node_->getPublishedElt("parlist");
    parameter.enterEntry(1, 0);
    set(parameter, "x\n");
    EXPECT_NE(error(), "");
    EXPECT_EQ(node_->getParameters()[1], "a");
}

TEST_F(ScriptTest, needs_an_application_and_a_known_language_to_run) {
    call("runscript", "");
    EXPECT_EQ(error(), "there is nothing to run the commands of script \"s\"\n");
    node_->setLanguage(qvScriptNode::python);
    call("runscript", "");
    EXPECT_EQ(error(), "there is no script server: python scripts cannot be run\n");
    node_->setLanguage(2);
    call("runscript", "");
    EXPECT_EQ(error(), "unknown language type\n");
    EXPECT_FALSE(node_->IsRunning());
}

}  // namespace
