#include <algorithm>
#include <cmath>

#include "qvutils/common/platform/files.h"
#include "qvutils/common/tasks/qvtask.h"
#include "qvutils/common/tasks/runsignal.h"
#include "tests/plugins/slabguide/slabnode_fixture.h"

namespace {

class SlabScanTest : public SlabNodeTest {
protected:
    SlabScanTest() {
        SFHandler::InitialiseCacheDir(SFHandler::privateCacheDir().Chars());
        define("w", "0.4");
        define("core", "2*w");
        run("addlayer", "0, 1.444");
        run("addlayer", "core, 2");
        run("addlayer", "0, 1");
    }
    std::string contentOfFile(const std::string& name) { return contentOf(directory.file(name)); }
    std::string save(const char* command, const std::string& name, const char* what) {
        return run(command, (directory.file(name) + ", " + what).c_str());
    }
};

TEST_F(SlabScanTest, each_point_has_the_modes_that_solving_there_finds) {
    EXPECT_EQ(run("scan", "w, 0.1, 0.9, 201"), "201");
    EXPECT_EQ(run("scanvalue", "201"), "0.9");
    for (const int point : {1, 57, 101, 201}) {
        run("setvariable", ("w, " + run("scanvalue", std::to_string(point).c_str())).c_str(), vars);
        ASSERT_EQ(node->ScanNumModes(point), node->NumModes());
        for (int i = 1; i <= node->NumModes(); ++i) {
            EXPECT_LT(std::abs(node->ScanNeff(point, i) - node->Neff(i)), 1e-14);
            EXPECT_NEAR(node->ScanGroupIndex(point, i), node->GroupIndex(i), 1e-13);
            EXPECT_EQ(node->ScanLoss(point, i), 0);
        }
    }
    EXPECT_EQ(run("scanneff", "1, 9"), "guide: there is no mode 9: there are 1 guided modes\n");
    EXPECT_EQ(run("scanvalue", "202"), "guide: there is no point 202: the scan has 201\n");
}

TEST_F(SlabScanTest, the_variables_of_the_project_and_foreign_workers_stay_as_they_were) {
    qvTask::StartWorkerThreads(3);
    EXPECT_EQ(run("scan", "w, 0.1, 0.9, 40"), "40");
    EXPECT_EQ(qvTask::getNumWorkerThreads(), 3);
    qvTask::StopWorkerThreads();
    EXPECT_EQ(run("getvariable", "w", vars), "0.4");
    EXPECT_EQ(run("scan", "core, 0.1, 0.9, 40"), "40");
    EXPECT_EQ(qvTask::getNumWorkerThreads(), 0);
    EXPECT_EQ(run("getvariable", "core", vars), "0.8");
    run("setvariable", "w, 0.5", vars);
    EXPECT_EQ(run("getvariable", "core", vars), "1");
}

TEST_F(SlabScanTest, what_cannot_be_scanned_leaves_the_scan_before) {
    run("scan", "w, 0.1, 0.9, 5");
    EXPECT_EQ(run("scan", "core2, 0, 1, 3"),
              "guide: there is no variable \"core2\" in the project\ndid you mean core?\n");
    EXPECT_EQ(run("scan", "w, 0, 1, 0"), "guide: a scan has 1 to 1000000 points, not 0\n");
    EXPECT_EQ(run("scan", "w, -3, -1, 5"),
              "guide: the scan found nothing; at w = -3: layer 2: the thickness -6 um is not "
              "positive\n");
    set("thickness", "core*", layer(2));
    output.takeWarnings();
    EXPECT_EQ(run("scan", "w, 1, 2, 5"),
              "guide: layer 2: thickness = \"core*\" could not be evaluated: parse error\n");
    EXPECT_EQ(output.takeWarnings(), "");
    EXPECT_EQ(run("numscanpoints"), "5");
    // Gaps are told once.
    set("thickness", "core", layer(2));
    EXPECT_EQ(run("scan", "w, -1, 1, 5"), "5");
    EXPECT_EQ(run("scannummodes", "3"), "0");
    EXPECT_EQ(output.takeWarnings(),
              "scan: 3 of 5 points could not be solved, the first at w = -1: layer 2: the "
              "thickness -2 um is not positive\n");
}

TEST_F(SlabScanTest, a_request_to_stop_ends_it) {
    run("scan", "w, 0.1, 0.9, 5");
    qvRunSignal::setHook([](bool running) {
        if (running) qvRunSignal::requestQuietKill();
    });
    EXPECT_NE(run("scan", "w, 0.1, 0.9, 100000").find("scan was cancelled"), std::string::npos);
    qvRunSignal::setHook(nullptr);
    EXPECT_EQ(run("numscanpoints"), "5");
    EXPECT_EQ(run("progress"), "100");
}

TEST_F(SlabScanTest, the_scan_comes_back_with_the_project) {
    run("scan", "w, 0.1, 0.9, 301");
    const std::string last = run("scanneff", "301, 1");
    const std::string path = directory.file("guide.prj");
    ASSERT_TRUE(project->SaveToFile(path.c_str())) << error();
    manager.ProjectClose(project);
    project = open(path);
    ASSERT_NE(project, nullptr) << error();
    node = static_cast<qvSlabNode*>(project->FindChild("guide"));
    EXPECT_EQ(run("numscanpoints"), "301");
    EXPECT_EQ(run("scanvariable"), "w");
    EXPECT_EQ(run("scanneff", "301, 1"), last);
    // A damaged one costs the scan, not the project.
    const std::string stateFile = getCacheFileName(path.c_str()).Chars();
    std::string state = contentOf(stateFile);
    std::fill(state.begin() + static_cast<long>(state.size() / 2), state.end(), '\xff');
    state.replace(state.find("qvSlabNode") + 40, 8, "\xff\xff\xff\xff\xff\xff\xff\xff");
    qvplatform::SafeFile file;
    ASSERT_TRUE(file.open(stateFile) && file.write(state) && file.commit());
    manager.ProjectClose(project);
    project = open(path);
    node = static_cast<qvSlabNode*>(project->FindChild("guide"));
    EXPECT_EQ(run("numscanpoints"), "0");
    EXPECT_NE(output.takeWarnings().find("guide: the scan is lost"), std::string::npos);
    EXPECT_EQ(run("nummodes"), "2");
}

TEST_F(SlabScanTest, tables_and_pictures_are_whole_files) {
    EXPECT_EQ(save("savecsv", "m.csv", "modes"), "");
    EXPECT_EQ(
        contentOfFile("m.csv").substr(0, 86),
        "mode,re(neff),im(neff),loss dB/cm,ngroup,confinement 1,confinement 2,confinement 3\nTE0");
    EXPECT_EQ(save("savecsv", "p.csv", "profile"), "");
    const std::string profile = contentOfFile("p.csv");
    EXPECT_EQ(std::count(profile.begin(), profile.end(), '\n'), 1004);
    EXPECT_EQ(save("savesvg", "p.svg", "profile"), "");
    EXPECT_NE(contentOfFile("p.svg").find("Re Ey"), std::string::npos);
    EXPECT_EQ(save("savecsv", "s.csv", "scan"), "guide: there is no scan\n");
    run("scan", "w, -0.1, 0.7, 3");
    EXPECT_EQ(save("savecsv", "s.csv", "scan"), "");
    const std::string scan = contentOfFile("s.csv");
    EXPECT_EQ(scan.substr(0, 58), "w,modes,re(neff TE0),im(neff TE0),loss TE0 dB/cm,ngroup TE");
    EXPECT_NE(scan.find("\n-0.1,0,,,,"), std::string::npos);
    EXPECT_EQ(save("savesvg", "s.svg", "scan"), "");
    EXPECT_NE(contentOfFile("s.svg").find("effective index"), std::string::npos);
    EXPECT_NE(save("savesvg", "x.svg", "modes"), "");
    EXPECT_NE(save("savecsv", "no/such/dir.csv", "modes"), "");
}

}  // namespace
