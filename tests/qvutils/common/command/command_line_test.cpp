#include "qvutils/common/command/command_line.h"

#include <gtest/gtest.h>

#include "sample_tree.h"

namespace {

class CommandLine : public ::testing::Test {
protected:
    std::string run(const std::string& text) { return session.run(text); }
    ~CommandLine() override { qverr().reset(); }

    SampleSession session;
    Guide& root = session.root;
};

TEST_F(CommandLine, text_is_cut_into_statements_and_comments) {
    run("app.width = 2;app.count=3 ;; app.note = \"a;b // c\" // why; not\r\n// alone\n\n;");
    EXPECT_EQ(session.commandsSeen,
              "<app.width = 2><app.count=3><app.note = \"a;b // c\"  // why; not><  // alone>");
    EXPECT_EQ(root.note, "a;b // c");
    EXPECT_EQ(root.count, 3);

    // A quote ends with its line; an odd number of backslashes escapes it, an even one does not.
    EXPECT_EQ(run("app.note = \"open\napp.note"), "\"open\n");
    EXPECT_EQ(run(R"(app.note = "a\"; \"b"; app.note)"), "a\"; \"b\n");
    EXPECT_EQ(run(R"(app.note = "C:\\temp\\"; app.note)"), "C:\\temp\\\n");
}

TEST_F(CommandLine, a_result_tells_whether_all_statements_succeeded) {
    EXPECT_EQ(run("app.count = 1\r\n\r\napp.nothing\rapp.count"),
              "!could not find item \"nothing\"\n1\n");
    EXPECT_FALSE(session.succeeded);
    EXPECT_EQ(session.errorLine, 3);
    EXPECT_EQ(run("app.count"), "1\n");
    EXPECT_TRUE(session.succeeded);

    session.stopOnError = true;
    EXPECT_EQ(run("app.fail(); app.count\napp.count"), "!it failed\n");
    EXPECT_FALSE(session.succeeded);
}

TEST_F(CommandLine, values_of_every_kind_are_set_and_shown) {
    const std::pair<const char*, const char*> values[] = {
        {"width = 0.1", "0.1"},
        {"width = 1.5e3", "1500"},
        {"index = 1.25", "1.25"},
        {"count = -7", "-7"},
        {"order = 3", "3"},
        {"lossy = 2", "1"},
        {"axis = y", "y"},
        {"field = (1, 2)", "(1,2)"},
        {"note = two words", "two words"},
        {"label = abcdefghij", "abcdefg"},
        {"note = \"quoted\\ttext\"", "quoted\ttext"},
        {"note = a == b", "a == b"},
        {"profile[-1] = 4", "4"},
        {"modes[2][0] = 5", "5"}};
    for (const auto& [assignment, shown] : values) {
        const std::string path =
            "app." + std::string(assignment).substr(0, std::string(assignment).find(' '));
        EXPECT_EQ(run("app." + std::string(assignment) + "; " + path), shown + std::string("\n"));
    }
    EXPECT_EQ(run("app.profile"), "     [-1]     4\n     [0]     0\n     [1]     0.5\n");
    EXPECT_EQ(run("app.modes").substr(0, 37), "     [1][0]     10\n     [1][1]     11");
    EXPECT_EQ(run("app.empty"), "     <EMPTY>\n");
    EXPECT_EQ(run("app.parts"), "     <EMPTY>\n");
    EXPECT_EQ(run("app"), "????\n");
    EXPECT_EQ(run("app.rename(\"x\")"), "");
}

TEST_F(CommandLine, a_value_that_does_not_fit_changes_nothing) {
    root.count = 4;
    for (const char* text :
         {"app.count = 12abc", "app.count = 2*3", "app.count = 3000000000", "app.width = 1e999",
          "app.width = ", "app.order = 40000", "app.lossy = maybe", "app.axis = xy",
          "app.field = (1,2) x", "app.stub = 1", "app.profile = 1", "app.rename = 1", "app = 5"}) {
        const std::string message = run(text);
        const std::string path = std::string(text).substr(0, std::string(text).find(' '));
        EXPECT_TRUE(message.starts_with("!could not set \"" + path + "\" to \"")) << message;
    }
    EXPECT_EQ(root.count, 4);
    EXPECT_EQ(run("app.name = x"), "!\"app.name\" is read only!\n");
}

TEST_F(CommandLine, methods_take_typed_arguments) {
    run(R"x(app.rename("a, \"b\" (c\n"))x");
    EXPECT_EQ(root.name, "a, \"b\" (c\n");
    EXPECT_EQ(run("app.area(2.5); app.area( \"4\" )"), "2.5\n4\n");
    EXPECT_EQ(run("app.each(); app.each(,); app.each(f(1,2), \"x,y\"); app.each"), "0\n2\n3\n0\n");
    run("app.add(one, 3); app.add(two)");
    EXPECT_EQ(run("app.parts[1].width; app.parts[2].width"), "3\n0\n");

    EXPECT_EQ(run("app.rename()"), "!insufficient arguments\n");
    EXPECT_EQ(run("app.rename"), "!insufficient arguments\n");
    EXPECT_EQ(run("app.rename(a, b)"), "!too many arguments\n");
    EXPECT_EQ(run("app.add(three, wide)"), "!argument 2 is not a number: \"wide\"\n");
    EXPECT_EQ(root.parts.size(), 2);
}

TEST_F(CommandLine, paths_go_through_lists_and_method_results) {
    run("app.add(a); app.parts[1].add(\"b.c\"); app.find(a).find(\"b.c\").add(d)");
    EXPECT_EQ(run("app.find( \"a\" ) . parts[ 1 ] . parts [1].name"), "d\n");
    EXPECT_EQ(run("app.find(\"a\").parts[1].rename(\"e\"); app.parts[1].parts[1].name"), "e\n");
    EXPECT_EQ(run("app.find(a).width = 7; app.parts[1].width"), "7\n");
    EXPECT_EQ(run("app.copyof().width"), "1\n");  // the copy lives until it has been shown

    const struct {
        const char *text, *message, *faultyPart;
    } errors[] = {
        {"other.width", "could not find item \"other.width\"", "other"},
        {"other.part(1).scale(2)", "could not find item \"other.part(1).scale\"", "other"},
        {"app.widht", "could not find item \"widht\"", "widht"},
        {"app.width.x", "could not find item \"x\"", "x"},
        {"app.parts.name", "could not find item \"name\"", "name"},
        {"app.find(zzz).name", "find returns NULL", "find"},
        {"app.width(1)", "width is not a function", "width"},
        {"app.width[1]", "width is not an array!", "width"},
        {"app.profile[1][1]", "too many indices in profile!", "profile"},
        {"app.modes[1]", "too few indices in modes!", "modes"},
        {"app.modes[1][2][3]", "parse error: too many indices!", "[3]"},
        {"app.parts[0]", "index 0 out of bounds", "parts"},
        {"app.profile[-2]", "index -2 out of bounds", "profile"},
        {"app.parts[99999999999]", "index 2147483647 out of bounds", "parts"},
        {"app.parts[x]", "parse error: index not a number?", "x]"},
        {"app.parts[1", "parse error: ']' missing?", "[1"},
        {"app.add(a", "parse error: missing ')' ?", "(a"},
        {"app.add(\"a)", "parse error: ')' missing?", "(\"a)"},
        {"app.find(a.add(b)", "parse error: ')' missing?", "(a.add(b)"},
        {"app.numparts)", "parse error: missing '(' ?", ")"},
        {"app.numparts).x", "parse error: '(' missing?", ").x"},
        {"app.find(a) b", "parse error", "b"},
        {"app..width", "parse error", ".width"},
        {"app.", "parse error", ""},
        {"= 3", "could not find item \"\"", ""}};
    for (const auto& [text, message, part] : errors) {
        EXPECT_EQ(run(text), "!" + std::string(message) + "\n") << text;
        EXPECT_EQ(session.faultyPart, part) << text;
    }
}

TEST_F(CommandLine, a_path_is_read_whole_before_anything_is_called) {
    EXPECT_EQ(run("app.add(a).name[1"), "!parse error: ']' missing?\n");
    EXPECT_EQ(root.parts.size(), 0);
}

TEST_F(CommandLine, references_name_objects) {
    run("app.add(a); Ref& g = app.find(a); g.width = 9; g.add(b); Ref& s = app.stub");
    EXPECT_EQ(run("app.parts[1].width; g.parts[1].name"), "9\nb\n");
    EXPECT_EQ(session.getGVARCommandName(root.parts[1]), "g");

    const std::pair<const char*, const char*> errors[] = {
        {"Ref& n = app.width", "only allowed to reference a qvobject!"},
        {"Ref& n = app.area(1)", "app.area(1) returns a COPY"},
        {"Ref& n = app.copyof()", "app.copyof() returns a COPY"},
        {"Ref& n = app.find(zzz)", "app.find(zzz) returns NULL"},
        {"Ref& n = app.parts", "only allowed to reference a qvobject!"},
        {"Ref& help = app", "cannot use key word help"},
        {"Ref& app = app", "cannot use key word app"},
        {"Ref& a.b = app", "invalid name \"a.b\""},
        {"Ref& n", "could not find item \"Ref& n\""},
        {"n", "could not find item \"n\""}};
    for (const auto& [text, message] : errors) {
        EXPECT_EQ(run(text), "!" + std::string(message) + "\n") << text;
    }
    EXPECT_EQ(run("Del g; g"), "!could not find item \"g\"\n");
    EXPECT_EQ(run("Del g"), "!could not find \"g\"\n or this is not a reference\n");
}

TEST_F(CommandLine, the_object_shown_last_can_be_referred_to) {
    EXPECT_EQ(run("app.add(a); _.name; _.name"), "????\na\n!could not find item \"_.name\"\n");
    run("app.add(b); Ref& b = _; app.copyof(); Ref& c = _; app.width");
    EXPECT_EQ(run("b.name = x; c.width = 7; b; c.width"), "!\"b.name\" is read only!\n????\n7\n");
    EXPECT_EQ(run("b; app.add(d).name; Ref& e = _"), "????\nd\n!could not find item \"_\"\n");
    EXPECT_EQ(run("b; _.remove(); _"), "????\n!could not find item \"_\"\n");
    run("Ref& _own = app.find(a); app.find(a)");
    EXPECT_EQ(session.getGVARCommandName(root.parts[1]), "");
    EXPECT_EQ(run("help").find("_own"), std::string::npos);
    EXPECT_EQ(run("_own.name"), "a\n");
}

TEST_F(CommandLine, copies_are_independent_values) {
    run("app.width = 3; Set w = app.area(2); app.width = 0");
    EXPECT_EQ(run("w; w = 8; w; Set w = app.area(1); w"), "6\n8\n0\n");
    EXPECT_EQ(run("w = x"), "!could not set \"w\" to \"x\"\n");
    EXPECT_EQ(run("Del w"), "!could not find \"w\"\n or this is not a reference\n");

    // A copied object is owned by the variable; a reference to it keeps it alive.
    run("Set c = app.copyof(); c.width = 5; Ref& c = c");
    EXPECT_EQ(run("c.width"), "5\n");

    EXPECT_EQ(run("Set n = app.width"), "!app.width is not a function\n");
    EXPECT_EQ(run("Set n = app.find(zzz)"), "!app.find(zzz) returns NULL\n");
    run("app.add(a)");
    EXPECT_EQ(run("Set n = app.find(a)"), "!app.find(a) returns a REFERENCE\n");
    EXPECT_EQ(run("Set app = app.area(1)"), "!cannot use key word app\n");
}

TEST_F(CommandLine, references_go_when_their_object_dies) {
    run("app.add(a).add(b); Ref& a = app.find(a); Ref& b = a.find(b); Ref& b2 = b; Ref& r = app");
    EXPECT_EQ(run("a.remove()"), "");  // deletes the object from within its own method
    EXPECT_EQ(run("a; b; b2; r.width"),
              "!could not find item \"a\"\n!could not find item \"b\"\n"
              "!could not find item \"b2\"\n1\n");
    run("app.add(x).remove(); app.add(y)");
    EXPECT_EQ(run("app.parts[1].name"), "y\n");
}

TEST_F(CommandLine, global_variables_can_be_managed_by_the_program) {
    QVCommandElt text;
    text.InitOwned(std::make_shared<QVString>("/tmp"), qvKindString);
    EXPECT_TRUE(session.AddGvar("wdir", text));
    EXPECT_EQ(run("wdir"), "/tmp\n");
    EXPECT_FALSE(session.AddGvar("help", text));
    qverr().reset();
    EXPECT_FALSE(session.IsVarNameAllowed("app"));

    const QVString first = session.getNewGVARName();
    EXPECT_TRUE(session.AddGvar(first, text));
    EXPECT_TRUE(session.RemoveGvar(first));
    EXPECT_FALSE(session.RemoveGvar(first));
    EXPECT_NE(session.getNewGVARName(), first);
}

TEST_F(CommandLine, help_describes_an_element_and_what_it_offers) {
    EXPECT_EQ(run("help app.stub"),
              "QVObject\nan object that publishes nothing\nChildren:\n <NONE>\n");
    EXPECT_EQ(run("help app.width"), "FLOAT\nwidth in micrometres\n");
    EXPECT_EQ(run("help app.parts; help app.modes; help app.rename"),
              "LIST<Guide> (read only)\nthe parts\nMATRIX<INTEGER>\nmode numbers\n"
              "FUNCTION\n( newname ): rename the guide\n");
    run("app.add(a)");
    EXPECT_TRUE(run("help app.parts[1]").starts_with("Guide\nChildren:\n"));
    const std::string text = run("help app");
    EXPECT_TRUE(text.starts_with("Guide\nChildren:\n add  FUNCTION  ( name[, width] ): add"));
    EXPECT_NE(text.find("\n each  FUNCTION  (...): counts arguments of root\n"), text.npos);
    EXPECT_NE(text.find("\n name  STRING (read only)  the name\n"), text.npos);
    EXPECT_NE(run("help").find("Paths begin with:\n app\n"), text.npos);
    EXPECT_EQ(run("app.objtype(); app.objtype(MAINTYPE(QVObject)); app.objtype(MAINTYPE(X))"),
              "Guide\n1\n0\n");
}

TEST_F(CommandLine, texts_may_run_texts_up_to_a_depth) {
    EXPECT_EQ(run(R"x(app.run("app.count = 2; app.fail()"); app.count)x"),
              "!it failed\n!it failed\n2\n");
    root.note = "app.note = gone; app.count = 9; app.note";  // changes the text being run
    EXPECT_EQ(run("app.runnote(); app.count"), "gone\n1\n9\n");
    root.note = "app.count = 3; app.runnote(); app.runnote()";  // would never end
    EXPECT_EQ(run("app.runnote()").substr(0, 50),
              "!command texts run each other more than 64 deep\n!c");
    EXPECT_FALSE(session.succeeded);
    EXPECT_EQ(run("app.count"), "3\n");  // and afterwards texts run again
}

TEST_F(CommandLine, statements_of_any_length_are_taken) {
    const std::string longText(200000, 'x');
    EXPECT_EQ(run("app.note = " + longText + "; app.note"), longText + "\n");
    EXPECT_EQ(run("app." + longText), "!could not find item \"" + longText + "\"\n");
    EXPECT_TRUE(run("app" + std::string(100000, '(')).starts_with("!parse error"));
    std::string deep = "app";
    for (int i = 0; i < 20000; ++i) deep += ".find(root)";
    EXPECT_EQ(run(deep), "!find returns NULL\n");
}

}  // namespace
