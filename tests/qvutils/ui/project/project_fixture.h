#pragma once
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/statefiles/sfhandler.h"
#include "qvutils/ui/nodes/qvnotesnode.h"
#include "qvutils/ui/nodes/qvparametersnode.h"
#include "qvutils/ui/nodes/qvvariablesnode.h"
#include "qvutils/ui/project/qvprojman.h"
#include "tests/support/captured_output.h"
#include "tests/support/temp_directory.h"

/// A node type as a plug-in would bring it: a value, child nodes and side files.
class DeviceNode : public qvProjectNode {
public:
    QV_CLASS_INFO(DeviceNode)

    bool ReadTB(TextBlock& block) override;
    bool WriteTB(TextBlock& block) const override;
    bool ExtractSFiles(FILE* file) override;
    bool StoreSFiles(FILE* file) override;

    double width = 1;
    SFHandler results;
};

/// The registration of DeviceNode, under projects and under itself, while it lives.
class DevicePlugin {
public:
    DevicePlugin();

private:
    qvProjectNodeInfoClass registration_;
};

/// An empty manager with the types of this library, and with deviceTB until unloaded.
class ProjectTest : public testing::Test {
protected:
    ProjectTest();
    ~ProjectTest() override;

    void loadPlugin() { plugin_ = std::make_unique<DevicePlugin>(); }
    void unloadPlugin() { plugin_.reset(); }
    qvProject* addProject(const char* name = "p");
    /// A node below another, of the type deviceTB unless told otherwise.
    qvProjectNode* add(qvProjectNode* parent, const char* name, const char* type = "deviceTB");
    qvProject* open(const std::string& path);
    /// The pending message, which is taken back.
    static std::string error() { return qverr().chars_and_reset(); }
    static std::string textOf(const qvProjectNode& node);

    qvProjectManager& manager = getProjectManager();
    CapturedOutput output;
    TempDirectory directory;

private:
    std::unique_ptr<DevicePlugin> plugin_;
};

/// Calls a function for each event of a number that a source raises.
class EventHook : public qvEventListener {
public:
    EventHook(qvEventSource& source, int id, std::function<void(qvEvent&)> action)
        : action_(std::move(action)) {
        ListenTo(source, id);
    }
    void OnEvent(qvEvent& event, int) override { action_(event); }

private:
    std::function<void(qvEvent&)> action_;
};
