#include "qvutils/ui/nodes/qvshapenode.h"
#include "tests/qvutils/ui/project/project_fixture.h"
#include "tests/support/temp_directory.h"

namespace {

class ShapeNodeTest : public ProjectTest {
protected:
    ShapeNodeTest() {
        registerShapeNode();
        project = addProject();
        node = add(project, "core", "shapeTB");
        vars = add(project, "v", "variablesTB");
        run("addvariable", "w", vars);
        run("setvariable", "w, 2", vars);
    }
    std::string run(const char* command, const char* args, QVObject* on = nullptr) {
        QVString text;
        (on ? on : node)->getPublishedElt(command).ExecuteFn(args).getValueText(text);
        return qverr() ? error() : text.Chars();
    }
    std::string set(const char* name, const char* value, QVObject* on = nullptr) {
        QVCommandElt element = (on ? on : node)->getPublishedElt(name);
        if (!element.getParent()) return "nothing published";
        element.getParent()->SetParam(element, value, name);
        return error();
    }
    bool read(const std::string& lines) {
        TextBlock block;
        EXPECT_TRUE(block.LoadBlock(("begin <shapeTB(1.0)> \"s\"\n" + lines + "end\n").c_str()));
        return node->ReadBlock(block);
    }
    std::string body(const qvProjectNode* of) {
        TextBlock block;
        EXPECT_TRUE(block.LoadBlock(textOf(*of).c_str()));
        return std::string(block.body());
    }
    QVObject* vertex(int i) { return node->getPublishedElt("plist").entryElt(i, 0).getObject(); }

    qvProject* project;
    qvProjectNode* node;
    qvProjectNode* vars;
};

TEST_F(ShapeNodeTest, answers_questions_about_its_shape) {
    const struct {
        const char* command;
        const char* args;
        const char* answer;
    } rows[] = {
        {"setshape", "RECTANGLE(w, max(w/2, 0.5))", ""},
        {"definition", "", "RECTANGLE(w, max(w/2, 0.5))"},
        {"area", "", "2"},
        {"boundingbox", "", "-1 -0.5 1 0.5"},
        {"boundingbox", "10, 20, 90", "9.5 19 10.5 21"},
        {"mindimension", "", "1"},
        {"contains", "1, 0.5", "1"},
        {"contains", "1.1, 0", "0"},
        {"contains", "1.1, 0, 0.2", "1"},
        {"contains", "0, 0, -1", "the tolerance is -1: it must not be negative\n"},
        {"distance", "3, 0", "2"},
        {"rotate", "90", ""},
        {"definition", "", "RECTANGLE(max(w/2, 0.5), w)"},
        {"expand", "0.5", ""},
        {"definition", "", "RECTANGLE(2, 3)"},
        {"contract", "0.25", ""},
        {"definition", "", "RECTANGLE(1.5, 2.5)"},
        {"setshape", "\"ELLIPSE(2*w, 2*w)\"", ""},
        {"boundingcircle", "", "0 0 2"},
    };
    for (const auto& row : rows) EXPECT_EQ(run(row.command, row.args), row.answer) << row.command;
    EXPECT_EQ(run("why", "width"), "width = 2*w  [4]\n  w = 2\n");
}

TEST_F(ShapeNodeTest, whatever_changes_the_shape_makes_the_project_dirty) {
    run("setshape", "POLYGON(0,0, w,0, 0,1)");
    const auto isDirty = [&] {
        const bool dirty = project->IsDirty();
        project->setDirty(false);
        return dirty;
    };
    EXPECT_TRUE(isDirty());
    EXPECT_EQ(set("x", "w/2", vertex(3)), "");
    EXPECT_TRUE(isDirty());
    for (const auto& [command, args] :
         {std::pair("insertpoint", "1, -1, w"), std::pair("removepoint", "2"),
          std::pair("setSize", "1, 2"), std::pair("setshape", "RECTANGLE(1, w)")}) {
        EXPECT_EQ(run(command, args), "") << command;
        EXPECT_TRUE(isDirty()) << command;
    }
    EXPECT_EQ(set("width", "w"), "");
    EXPECT_TRUE(isDirty());
    QVObject* weighting = node->getPublishedElt("weighting").getObject();
    EXPECT_EQ(run("setdefinition", "FORMULA \"a*t\" a=1", weighting), "");
    EXPECT_TRUE(isDirty());
    EXPECT_EQ(set("a", "2", weighting->getPublishedElt("params").getObject()), "");
    EXPECT_TRUE(isDirty());
    run("area", "");
    run("contains", "0, 0");
    EXPECT_FALSE(isDirty());
}

TEST_F(ShapeNodeTest, is_copied_and_saved_with_its_formulas_and_follows_new_names) {
    run("setshape", "POLYGON(0,0, w,0, 0,2*w)");
    run("setdefinition", "X POWER \"w\" FORMULA \"a*t\" a=\"w+1\"",
        node->getPublishedElt("weighting").getObject());
    const std::string lines =
        "  shape = POLYGON(0, 0, w, 0, 0, 2*w)\n"
        "  weighting = X POWER \"w\" FORMULA \"a*t\" a=\"w+1\"\n";
    EXPECT_EQ(body(node), lines);
    ASSERT_TRUE(node->Copy());
    ASSERT_TRUE(project->Paste("again")) << error();
    qvProjectNode* again = project->FindChild("again");
    EXPECT_EQ(body(again), lines);
    EXPECT_EQ(run("renameeverywhere", "w, width", vars), "8");
    run("setvariable", "width, 3", vars);
    EXPECT_EQ(run("area", "", again), "9");
    EXPECT_EQ(body(node),
              "  shape = POLYGON(0, 0, width, 0, 0, 2*width)\n"
              "  weighting = X POWER \"width\" FORMULA \"a*t\" a=\"width+1\"\n");
    EXPECT_EQ(run("uses", "width", vars).substr(0, 83),
              "core.weighting.x = width\ncore.weighting.params.a = width+1\n"
              "core.plist[2].x = width\n");

    qvProject* other = addProject("other");
    ASSERT_TRUE(other->Paste("moved"));
    EXPECT_NE(run("area", "", other->FindChild("moved")).find("undefined variable \"w\""),
              std::string::npos);
}

TEST_F(ShapeNodeTest, what_cannot_be_read_is_told_and_kept) {
    const std::string lines =
        "  // the guide\n"
        "  shape = RECTANGLE(w)   // half a definition\n"
        "  colour = red\n"
        "  weighting = POWER 2 // keep\n"
        "  shape = ELLIPSE(1, 1)\n"
        "  RECTANGLE(1, 2)\n";
    EXPECT_TRUE(read(lines));
    EXPECT_EQ(qverr(), 504);
    qverr().reset();
    EXPECT_EQ(output.takeWarnings(),
              "Invalid rectangle parameters: w\n   required format: width, height\n"
              "Unrecognised symbol \"colour\"\n   in shape definition: colour = red\n"
              "Duplicate shape\n   in shape definition: shape = ELLIPSE(1, 1)\n"
              "Missing equals in shape definition: RECTANGLE(1, 2)\n"
              "   required format: shape = RECTANGLE(width, height)\n");
    EXPECT_EQ(body(node), lines);
    EXPECT_NE(run("area", ""), "0");
    EXPECT_NE(run("setshape", "RECTANGLE(1, undefinedname)"), "");
    EXPECT_EQ(body(node), lines);
    run("setshape", "RECTANGLE(1, w)");
    EXPECT_EQ(body(node).substr(0, 76),
              "  // the guide\n  shape = RECTANGLE(1, w)   // half a definition\n  colour = r");
    EXPECT_TRUE(read("shape = RECTANGLE(1, undefinedname)\n"));
    EXPECT_EQ(run("definition", ""), "RECTANGLE(1, undefinedname)");
}

TEST_F(ShapeNodeTest, blends_the_shapes_of_other_nodes) {
    qvProjectNode* start = add(project, "start", "shapeTB");
    add(project, "empty", "shapeTB");
    run("setshape", "RECTANGLE(w, 1)", start);
    run("setshape", "RECTANGLE(4, 3)");
    qvProjectNode* blend = add(project, "blend", "shapeTB");
    const struct {
        const char* command;
        const char* args;
        const char* answer;
    } rows[] = {
        {"blend", "start, core, 0.5", "RECTANGLE(4, 3)"},
        {"blend", "start, core, 0.5, POWER 2", "RECTANGLE(2.5, 1.5)"},
        {"blend", "start, core, 0.5, X FLAT 0 SFUNC", "RECTANGLE(2, 2)"},
        {"blendby", "start, core, 0.25", "RECTANGLE(2.5, 1.5)"},
        {"blendby", "start, core, 0, 1", "RECTANGLE(2, 3)"},
        {"blend", "blend, core, 0.5, FLAT 0.5", "RECTANGLE(3, 3)"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(run(row.command, row.args, blend), "") << row.args;
        EXPECT_EQ(run("definition", "", blend), row.answer) << row.args;
    }
    const std::pair<const char*, const char*> refused[] = {
        {"start, cor, 0.5", "could not find node \"cor\"\n"},
        {"start, v, 0.5", "node \"v\" is no shape\n"},
        {"start, core, 0.5, POWR 2", "the shape stays as it was\n"},
        {"start, core, 1, POWER -1 RANGE 1 2",
         "weighting function POWER: no finite weight at t = 1\n"},
        {"start, empty, 0.5", nullptr},
        {"start, core, -5, FORMULA \"t\"", nullptr},
    };
    for (const auto& [args, message] : refused) {
        const std::string told = run("blend", args, blend);
        EXPECT_NE(told, "") << args;
        if (message) {
            EXPECT_EQ(told, message);
        }
        EXPECT_EQ(run("definition", "", blend), "RECTANGLE(3, 3)") << args;
    }
}

TEST_F(ShapeNodeTest, draws_shapes_to_one_scale_or_leaves_the_file) {
    TempDirectory directory;
    const std::string path = directory.file("shapes.svg");
    run("setshape", "RECTANGLE(w, 1)");
    qvProjectNode* spot = add(project, "spot", "shapeTB");
    run("setshape", "ELLIPSE(4, 4)", spot);
    EXPECT_EQ(run("savesvg", (path + ", spot").c_str()), "");
    const std::string picture = contentOf(path);
    for (const char* part : {"<svg ", ">core</text>", ">spot</text>", "x (µm)", "y (µm)", "</svg>"})
        EXPECT_NE(picture.find(part), picture.npos) << part;
    run("setvariable", "w, -2", vars);
    EXPECT_NE(run("savesvg", path.c_str()), "");
    EXPECT_NE(run("savesvg", (path + ", nowhere").c_str()), "");
    EXPECT_EQ(contentOf(path), picture);
}

}  // namespace
