#include <gmock/gmock.h>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/formula/funcparser.h"
#include "qvutils/ui/app/qvappBase.h"
#include "qvutils/ui/project/qvprojman.h"
#include "tests/support/captured_output.h"

namespace {

struct DenyAll : qvLicence {
    bool allowsPlugin(const std::string&, std::string& reason) const override {
        reason = "trial is over";
        return false;
    }
};

bool probeIsThere() {
    const bool node = getProjectManager().getMetaDataTable().FindMetaDataByBlockType("probeTB");
    EXPECT_EQ(QVFuncParserR::TheFuncParser.IsFunctionRegistered("twice"), node);
    EXPECT_EQ(QVFuncParserC::TheFuncParser.IsFunctionRegistered("twice"), node);
    return node;
}

TEST(Plugins, come_and_go_with_each_application_of_a_process) {
    CapturedOutput output;
    for (int round = 0; round < 3; ++round) {
        qvCommandObject commands;
        qvAppBase application("optics", "1", commands);
        EXPECT_FALSE(probeIsThere());
        qverr().set(17, "from before");
        application.loadPlugins({QV_PLUGINS, QV_PLUGINS});
        EXPECT_EQ(qverr(), 17);
        qverr().reset();
        EXPECT_EQ(application.plugins().size(), 1);
        EXPECT_TRUE(probeIsThere());
        EXPECT_EQ(output.takeNormal(), "loaded plugin \"probe.plugin\"\n");
        EXPECT_TRUE(commands.Execute(
            "app.addsubnode(projectTB, P); app.findnode(P).addsubnode(probeTB, a)\n"
            "app.findnode(\"P/a\").copy(); Ref& a = app.findnode(\"P/a\")\n"
            "Set made = app.makeprobe()"))
            << qverr().chars_and_reset();
        EXPECT_EQ(output.takeWarnings(), "");
        output.takeNormal();
    }
    EXPECT_FALSE(probeIsThere());
}

TEST(Plugins, the_application_decides_through_its_licence) {
    CapturedOutput output;
    qvCommandObject commands;
    qvAppBase application("optics", "1", commands);
    const DenyAll licence;
    application.setLicence(&licence);
    application.loadPlugins({QV_PLUGINS});
    EXPECT_EQ(qverr(), 0);
    EXPECT_EQ(output.takeWarnings(),
              "plugin \"probe.plugin\" is not allowed by the licence:\n  trial is over\n");
    EXPECT_FALSE(probeIsThere());
}

}  // namespace
