#include <gtest/gtest.h>

#include <string>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/common/statefiles/sfhandler.h"
#include "qvutils/ui/app/qvappBase.h"
#include "qvutils/ui/project/qvprojman.h"

namespace {

struct AppTest : testing::Test {
    qvCommandObject commands;
    qvAppBase application{"optics", "7.3", commands};

    std::string valueOf(const char* path) {
        QVString text;
        const QVCommandElt element = commands.getPublishedElt(path);
        EXPECT_TRUE(element.getValueText(text)) << path << ": " << qverr().chars();
        return text.Chars();
    }
};

TEST_F(AppTest, app_is_the_only_root_and_a_keyword) {
    EXPECT_EQ(commands.FindInApp("app"), static_cast<QVObject*>(&application));
    EXPECT_TRUE(commands.IsKeyword("app"));
    for (const char* name : {"App", "ap", "app ", "help", ""}) {
        EXPECT_EQ(commands.FindInApp(name), nullptr) << name;
        EXPECT_FALSE(commands.IsKeyword(name)) << name;
    }
}

TEST_F(AppTest, publishes_everything_of_the_project_manager_and_its_own) {
    List<QVCommandElt> own;
    application.getChildList(own);
    List<QVCommandElt> managers;
    getProjectManager().getChildList(managers);
    EXPECT_EQ(own.size(), managers.size() + 5);
    for (int i = 1; i <= managers.size(); ++i) {
        EXPECT_FALSE(application.getPublishedElt(managers[i].getName()).IsNull());
    }
    EXPECT_STREQ(application.getPublishedElt("setwdir").getDescription(),
                 "(dirpath): set working directory");
    EXPECT_STREQ(application.getPublishedElt("getwdir").getDescription(),
                 "(): get working directory (stored in wdir)");
}

TEST_F(AppTest, the_working_directory_is_set_read_and_stored_in_wdir) {
    const std::string before = qvplatform::currentDirectory();
    EXPECT_TRUE(commands.Execute("app.setwdir(\"..\"); app.getwdir()"));
    EXPECT_NE(valueOf("wdir"), before);
    EXPECT_EQ(valueOf("wdir"), qvplatform::currentDirectory());

    EXPECT_FALSE(commands.Execute("app.setwdir(\"no such directory\")"));
    EXPECT_NE(std::string(qverr().chars_and_reset()).find("no such directory"), std::string::npos);
    EXPECT_EQ(valueOf("wdir"), qvplatform::currentDirectory());
    EXPECT_TRUE(qvplatform::setCurrentDirectory(before));
}

TEST_F(AppTest, is_what_the_project_tree_asks_for_its_services) {
    qvAppServices& services = getProjectManager().services();
    EXPECT_EQ(services.applicationName(), "optics");
    EXPECT_EQ(services.versionAndLicence(), "7.3 0");
    EXPECT_EQ(services.commandObject(), &commands);
    EXPECT_FALSE(services.askUser("sure?"));
    EXPECT_STRNE(SFHandler::getCacheDir().Chars(), "");
}

TEST(AppLife, projects_and_names_end_with_the_application) {
    qvCommandObject commands;
    {
        const qvAppBase application("optics", "7.3", commands);
        EXPECT_TRUE(
            commands.Execute("app.addsubnode(\"projectTB\", \"P\")\n"
                             "Ref& p = app.subnodes[1]"));
        EXPECT_NE(commands.getGvar("p"), nullptr);
    }
    EXPECT_EQ(commands.getGvar("p"), nullptr);
    EXPECT_EQ(getProjectManager().getNumSubnodes(), 0);
    EXPECT_FALSE(commands.Execute("app.numsubnodes()"));

    // A second one finds everything registered.
    const qvAppBase again("optics", "7.3", commands);
    EXPECT_TRUE(commands.Execute("app.addsubnode(\"projectTB\", \"P\")"));
}

}  // namespace
