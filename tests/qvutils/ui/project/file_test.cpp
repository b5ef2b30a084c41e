#include <fstream>
#include <sstream>

#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"
#include "tests/qvutils/ui/project/project_fixture.h"
#include "tests/support/failing_files.h"
#include "tests/support/fake_clock.h"

namespace {

class FileTest : public ProjectTest {
protected:
    FileTest() { SFHandler::InitialiseCacheDir(directory.file("cache").c_str()); }

    /// A project with a note, a variable and a device that owns a side file.
    qvProject* example(const std::string& result = "result of d") {
        qvProject* p = addProject();
        static_cast<qvNotesNode*>(add(p, "n", "notesTB"))->setText("hello\n");
        auto* variables = static_cast<qvVariablesNode*>(add(p, "v", "variablesTB"));
        variables->AddVariable("width");
        variables->SetVariable("width", "2*0.25");
        auto* device = static_cast<DeviceNode*>(add(p, "d"));
        std::ofstream(device->results.UseSFile("modes"), std::ios::binary) << result;
        return p;
    }
    std::string resultOf(qvProject* p, const char* device = "d") {
        auto* node = static_cast<DeviceNode*>(p->FindChild(device));
        const std::string path = node->results.getSFile("modes");
        return path.empty() ? "" : contentOf(path);
    }
    bool exists(const std::string& name) {
        return qvplatform::fileSystem().status(directory.file(name)).exists();
    }
    std::string stateOrNothing() { return exists("wg[1]_prj.sta") ? contentOf(statePath) : ""; }
    const std::string path = directory.file("wg[1].prj");
    const std::string statePath = directory.file("wg[1]_prj.sta");
    FakeClock clock;
};

TEST_F(FileTest, a_project_comes_back_as_it_was_saved) {
    qvProject* p = example();
    const std::string before = textOf(*p);
    ASSERT_TRUE(p->SaveToFile(path.c_str())) << error();
    EXPECT_EQ(output.takeNormal(), "wg[1].prj saved\n");
    EXPECT_FALSE(p->IsDirty());
    EXPECT_EQ(p->getFilename(), path.c_str());
    EXPECT_TRUE(exists("wg[1]_prj.sta"));
    std::vector<std::string> opened;
    EventHook hook(manager.GetEventSource(), qvProjectEvent::opened, [&](qvEvent& event) {
        opened.push_back(static_cast<const char*>(event.data2));
    });
    ASSERT_TRUE(manager.ProjectClose(p));
    p = open(path);
    ASSERT_NE(p, nullptr) << error();
    EXPECT_FALSE(qverr());
    EXPECT_EQ(output.takeNormal(),
              "wg[1].prj loaded successfully\nloading statefile wg[1]_prj.sta ...\n");
    EXPECT_EQ(opened, std::vector<std::string>{path});
    EXPECT_EQ(manager.FindNodeByFilename(path.c_str()), p);
    EXPECT_EQ(textOf(*p), before);
    EXPECT_EQ(resultOf(p), "result of d");
    EXPECT_EQ(p->GetNameSpace()->Find("width")->GetValueString(), "0.5");
    EXPECT_TRUE(p->IsPrepared() && p->FindChild("d")->IsPrepared());
    EXPECT_FALSE(p->IsDirty());
}

TEST_F(FileTest, the_header_says_who_wrote_the_file_and_when) {
    addProject()->SaveToFile(path.c_str());
    std::istringstream text(contentOf(path));
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    int major = 0;
    int minor = 0;
    if (qvplatform::systemVersion(major, minor)) {
        const std::string start =
            "  " + std::to_string(major) + "." + std::to_string(minor) + " (64 bit) ";
        EXPECT_EQ(lines[3].substr(0, start.size()), start);
        const std::string end = " // windowsversion RAM_in_MB ";
        EXPECT_EQ(lines[3].substr(lines[3].size() - end.size()), end);
        lines.erase(lines.begin() + 3);
    }
    EXPECT_EQ(lines,
              (std::vector<std::string>{
                  "begin <qvApplicationInfo(1.1)>",
                  "  qvcore 39.1 // applicationname applicationversion", "  0 // licensenumber",
                  "  03/02/2001 4:05:06 // savedate(dd/mm/yyyy) savetime(hh:mm:ss)", "end",
                  "begin <projectTB(1.0)> \"p\"", "end"}));
}

TEST_F(FileTest, saving_again_changes_nothing_and_keeps_every_comment) {
    example()->SaveToFile(path.c_str());
    std::string text = contentOf(path);
    text.insert(text.find("begin <projectTB"), "// before the project\n");
    text.insert(text.find("\n") + 1, "  // in the header\n");
    text = "// before the header\n" + text + "// after it all\n";
    for (const char* lineEnd : {"\n", "\r\n"}) {
        manager.ClearNodes();
        std::string written = text;
        for (std::size_t i = 0; (i = written.find('\n', i)) != written.npos; i += strlen(lineEnd)) {
            written.replace(i, 1, lineEnd);
        }
        directory.write("wg[1].prj", "\xEF\xBB\xBF" + written);
        for (int i = 0; i < 2; ++i) {
            manager.ClearNodes();
            qvProject* p = open(path);
            ASSERT_NE(p, nullptr) << error();
            ASSERT_TRUE(p->SaveToFile(path.c_str()));
            EXPECT_EQ(contentOf(path), text);
        }
    }
}

TEST_F(FileTest, a_project_without_side_files_leaves_no_state_file) {
    qvProject* p = example();
    p->SaveToFile(path.c_str());
    p->FindChild("d")->Delete();
    ASSERT_TRUE(p->SaveToFile(path.c_str()));
    EXPECT_FALSE(exists("wg[1]_prj.sta"));
    manager.ClearNodes();
    SFHandler::InitialiseCacheDir("");
    ASSERT_TRUE(example()->SaveToFile(directory.file("off.prj").c_str()));
    EXPECT_FALSE(exists("off_prj.sta"));
}

TEST_F(FileTest, a_large_project_is_written_whole) {
    qvProject* p = addProject();
    for (const char* name : {"a", "b", "c", "d"}) {
        const std::string text = std::string(50000, *name) + "\n";
        static_cast<qvNotesNode*>(add(p, name, "notesTB"))->setText(text.c_str());
    }
    ASSERT_TRUE(p->SaveToFile(path.c_str()));
    const std::string written = contentOf(path);
    EXPECT_EQ(written.substr(written.find("begin <projectTB")), textOf(*p));
}

TEST_F(FileTest, files_that_are_no_projects_are_refused) {
    const std::string header = "begin <qvApplicationInfo(1.1)>\nend\n";
    const std::string sorry = "Sorry, the file was not successfully loaded.\n";
    const struct {
        std::string text;
        std::string message;
    } cases[] = {
        {"", sorry},
        {header, sorry},
        {"some text\n", sorry},
        {header + "begin <alienTB(1.0)> \"x\"\nend\n",
         "Unrecognised project node type: begin <alienTB(1.0)> \"x\"\n"},
        {"begin <projectTB(1.0)> \"a/b\"\nend\n", "invalid name a/b.\n"},
        {"begin <projectTB(1.0)> \"taken\"\nend\n", "An object with name taken already exists.\n"},
        {"begin <projectTB(1.0)> \"x\"\nbegin <notesTB(1.0)> \"n\"\nend\n",
         "Missing \"end\" in block beginning\r\nbegin <projectTB(1.0)> \"x\"\n\r\n"},
        {"begin <projectTB(3.0)> \"x\"\nend\n",
         "Expected version (1.0) in block beginning\r\nbegin <projectTB(3.0)> \"x\"\n\r\n"}};
    addProject("taken");
    for (const auto& c : cases) {
        EXPECT_EQ(open(directory.write("x.prj", c.text)), nullptr);
        EXPECT_EQ(error(), c.message);
        EXPECT_EQ(manager.getNumSubnodes(), 1);
    }
    for (const std::string& name : {directory.file("missing.prj"), directory.path()}) {
        EXPECT_EQ(open(name), nullptr);
        EXPECT_EQ(error().rfind("Failed to open file \"" + name + "\"\n", 0), 0u);
    }
    // A file without the header block is a project too; the name may be given.
    directory.write("x.prj", "// mine\nbegin <projectTB(1.0)> \"taken\"\nend\n");
    EXPECT_TRUE(manager.ProjectOpen(directory.file("x.prj").c_str(), "free")) << error();
    EXPECT_NE(manager.FindChild("free"), nullptr);
}

TEST_F(FileTest, nodes_of_a_missing_plugin_keep_their_blocks_and_their_results) {
    example()->SaveToFile(path.c_str());
    const std::string text = contentOf(path);
    const std::string state = contentOf(statePath);
    manager.ClearNodes();
    unloadPlugin();
    qvProject* p = open(path);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(int(qverr()), 504);
    EXPECT_EQ(error(),
              "Parts of the project could not be loaded due to syntax errors.\n"
              "See the Warnings window for details.");
    EXPECT_NE(output.takeNormal().find("wg[1].prj loaded with 1 syntax errors\n"),
              std::string::npos);
    ASSERT_TRUE(p->SaveToFile(path.c_str())) << error();
    EXPECT_EQ(contentOf(path), text);
    EXPECT_EQ(contentOf(statePath), state);
    const std::string renamed = directory.file("renamed.prj");
    p->FindChild("d")->Rename("ring");
    ASSERT_TRUE(p->SaveToFile(renamed.c_str())) << error();
    manager.ClearNodes();
    loadPlugin();
    EXPECT_EQ(resultOf(open(renamed), "ring"), "result of d");
    manager.ClearNodes();
    EXPECT_EQ(resultOf(open(path)), "result of d");

    // One node of a newer version beside one that can be read.
    std::string newer = text;
    newer.replace(newer.rfind("end\n"), 0, "  begin <deviceTB(9.0)> \"e\"\n  end\n");
    directory.write("wg[1].prj", newer);
    std::string both = state + state;
    both[state.size() + 13 + 4] = 'e';  // the key after magic and key length
    directory.write("wg[1]_prj.sta", both);
    manager.ClearNodes();
    p = open(path);
    error();
    ASSERT_TRUE(p->SaveToFile(path.c_str())) << error();
    EXPECT_EQ(contentOf(statePath), both);
    EXPECT_EQ(contentOf(path), newer);
    p->FindChild("e")->Delete();
    p->SaveToFile(path.c_str());
    EXPECT_EQ(contentOf(statePath), state);
}

// A full disk or the end of the process at any moment of a save: the old files or the new ones.
TEST_F(FileTest, a_save_that_fails_anywhere_leaves_whole_files) {
    qvProject* p = example("old result");
    ASSERT_TRUE(p->SaveToFile(path.c_str()));
    const std::string oldText = contentOf(path);
    const std::string oldState = contentOf(statePath);
    p->AddSubnode("notesTB", "more");
    std::ofstream(static_cast<DeviceNode*>(p->FindChild("d"))->results.getSFile("modes"))
        << "new, longer result";
    std::string newText;
    std::string newState;
    int total = 0;
    for (auto after : {FailingFiles::worksAgain, FailingFiles::failsOn}) {
        for (int k = 0; k <= total; ++k) {
            directory.write("wg[1].prj", oldText);
            directory.write("wg[1]_prj.sta", oldState);
            p->setDirty(true);
            bool saved = false;
            bool failed = false;
            {
                FailingFiles files;
                files.failAt(k, after);
                saved = p->SaveToFile(path.c_str());
                failed = files.hasFailed();
                if (k == 0) total = files.operations();
            }
            const std::string text = contentOf(path);
            const std::string state = stateOrNothing();
            if (k == 0) {
                ASSERT_TRUE(saved) << error();
                newText = text;
                newState = state;
            }
            EXPECT_TRUE(failed || k == 0);
            EXPECT_EQ(saved, !qverr()) << k;
            EXPECT_EQ(text, saved ? newText : oldText) << "operation " << k;
            // A side file that cannot be opened is left out of the new state file.
            EXPECT_TRUE(state == oldState || (saved && (state == newState || state.empty())))
                << "operation " << k;
            EXPECT_EQ(p->IsDirty(), !saved);
            qverr().reset();
        }
    }
    EXPECT_GT(total, 10);
}

// Every example of the documentation is a file that loads and is written back as it stands.
TEST_F(FileTest, the_documented_examples_load) {
    std::istringstream text(contentOf(QV_DOCS "/file-formats.md") +
                            contentOf(QV_DOCS "/variables.md"));
    std::string example;
    bool inside = false;
    int count = 0;
    for (std::string line; std::getline(text, line);) {
        if (line == "```project") {
            inside = true;
            example.clear();
        } else if (inside && line == "```") {
            inside = false;
            ++count;
            manager.ClearNodes();
            qvProject* p = open(directory.write("example.prj", example));
            ASSERT_NE(p, nullptr) << error() << example;
            EXPECT_FALSE(qverr());
            EXPECT_NE(example.find(textOf(*p)), example.npos) << textOf(*p);
        } else if (inside) {
            example += line + "\n";
        }
    }
    EXPECT_GE(count, 3);
}

}  // namespace
