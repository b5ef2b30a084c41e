#pragma once
#include <string>

#include "plugins/slabguide/qvslabnode.h"
#include "tests/qvutils/ui/project/project_fixture.h"

/// A project with a slab node and a variables node, driven by commands.
class SlabNodeTest : public ProjectTest {
protected:
    SlabNodeTest() : registration_(slabNodeInfo()) {
        qvProjectNodeInfoClass::Register();
        project = addProject();
        vars = add(project, "v", "variablesTB");
        node = static_cast<qvSlabNode*>(add(project, "guide", "slabTB"));
    }
    ~SlabNodeTest() override { manager.ClearNodes(); }

    /// The answer of a command, or its error.
    std::string run(const char* command, const char* args = "", QVObject* on = nullptr) {
        QVString text;
        (on ? on : node)->getPublishedElt(command).ExecuteFn(args).getValueText(text);
        return qverr() ? error() : text.Chars();
    }
    std::string set(const char* name, const char* value, QVObject* on = nullptr) {
        QVObject& object = on ? *on : *node;
        QVCommandElt element = object.getPublishedElt(name);
        object.SetParam(element, value, name);
        return error();
    }
    void define(const char* name, const char* formula) {
        run("addvariable", name, vars);
        run("setvariable", (std::string(name) + ", " + formula).c_str(), vars);
    }
    QVObject* layer(int i) { return node->getPublishedElt("layers").entryElt(i, 0).getObject(); }
    bool read(const std::string& lines) {
        TextBlock block;
        EXPECT_TRUE(block.LoadBlock(("begin <slabTB(1.0)> \"guide\"\n" + lines + "end\n").c_str()));
        return node->ReadBlock(block);
    }
    std::string body() {
        TextBlock block;
        EXPECT_TRUE(block.LoadBlock(textOf(*node).c_str()));
        return std::string(block.body());
    }

    qvProject* project;
    qvProjectNode* vars;
    qvSlabNode* node;

private:
    qvProjectNodeInfoClass registration_;
};
