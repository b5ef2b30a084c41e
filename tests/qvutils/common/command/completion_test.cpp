#include <gtest/gtest.h>

#include "sample_tree.h"

namespace {

using Names = std::vector<std::string>;

TEST(Completion, offers_published_names_after_a_dot) {
    SampleSession session;
    session.run("app.add(a); Ref& apple = app.find(a)");
    const auto at = [&](const char* text) { return session.completions(text).names; };

    EXPECT_EQ(at("ap"), (Names{"app", "apple"}));
    EXPECT_EQ(at("He"), Names{});
    EXPECT_EQ(at("hel"), Names{"help"});
    EXPECT_EQ(at("app.pa"), Names{"parts["});
    EXPECT_EQ(at("app.r"), (Names{"remove(", "rename(", "run(", "runnote("}));
    EXPECT_EQ(at("x; help app.parts[1].wi"), Names{"width"});
    EXPECT_EQ(at("Ref& x = apple.fin"), Names{"find("});
    EXPECT_EQ(session.completions("app.parts[1].wi").start, 13);
}

TEST(Completion, calls_nothing_and_posts_nothing) {
    SampleSession session;
    for (const char* text : {"app.add(b).wi", "app.find(\"a", "app.parts[", "nothing.x", "app..x",
                             "app.parts[7].x", "\"", "app.width."}) {
        EXPECT_TRUE(session.completions(text).names.empty()) << text;
    }
    EXPECT_EQ(session.root.parts.size(), 0);
    EXPECT_FALSE(qverr());
}

TEST(NearestNames, are_likely_meant_and_at_most_three) {
    const Names known{"rename", "subnodes", "addsubnode", "numsubnodes", "delete", "cut", "copy"};
    EXPECT_EQ(QVCommandBase::nearestNames("renmae", known), Names{"rename"});
    EXPECT_EQ(QVCommandBase::nearestNames("Subnode", known), (Names{"subnodes"}));
    EXPECT_EQ(QVCommandBase::nearestNames("xyz", known), Names{});
    EXPECT_EQ(QVCommandBase::nearestNames("a", {"b", "c"}), Names{});
    EXPECT_EQ(QVCommandBase::nearestNames("var", {"var1", "var2", "var3", "var4"}).size(), 3u);
    EXPECT_EQ(QVCommandBase::nearestNames(std::string(5000, 'x'), known), Names{});
}

TEST(Hints, follow_an_unknown_name) {
    SampleSession session;
    session.run("app.widht");
    EXPECT_EQ(session.getHints(), Names{"width"});
    session.run("ap.width");
    EXPECT_EQ(session.getHints(), Names{"app"});
    session.run("app.width");
    EXPECT_TRUE(session.getHints().empty());
}

}  // namespace
