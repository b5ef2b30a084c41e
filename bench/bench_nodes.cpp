// A project with 100,000 variables, each but the first a formula over the one before: loading,
// saving and commands, compared with a tenth of them.
#include <algorithm>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "bench/qvbench.h"
#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/ui/nodes/qvvariablesnode.h"
#include "qvutils/ui/project/qvprojman.h"

namespace {

constexpr int many = 100000;
constexpr int runs = 5;

double millisecondsOf(const std::function<void()>& action) {
    const std::clock_t start = std::clock();
    action();
    if (qverr()) exitfn("%s", qverr().chars());
    return 1e3 * static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

QVString nameOf(int i) {
    return QVString(("v" + std::to_string(i)).c_str());
}

QVString formulaOf(int i) {
    return i ? "2*" + nameOf(i - 1) + "-1" : QVString("1");
}

struct Times {
    double define, save, load, read, renameEach, remove;
};

constexpr struct {
    const char* what;
    double Times::*time;
} rows[] = {{"define 100,000 variables by command", &Times::define},
            {"save 100,000 variables", &Times::save},
            {"load 100,000 variables", &Times::load},
            {"read the last one, which depends on all", &Times::read},
            {"rename each by command", &Times::renameEach},
            {"remove each by command", &Times::remove}};

Times timeVariables(const std::string& path, int n) {
    qvProjectManager& manager = getProjectManager();
    const auto project = [&] { return static_cast<qvProject*>(manager.getNodes()[1]); };
    const auto variables = [&] { return static_cast<qvVariablesNode*>(project()->getNodes()[1]); };
    Times times;
    manager.ClearNodes();
    manager.AddSubnode("projectTB", "p");
    project()->AddSubnode("variablesTB", "v");
    times.define = millisecondsOf([&] {
        for (int i = 0; i < n; ++i) {
            variables()->AddVariable(nameOf(i));
            variables()->SetVariable(nameOf(i), formulaOf(i));
        }
    });
    times.save = millisecondsOf([&] { project()->SaveToFile(path.c_str()); });
    manager.ClearNodes();
    times.load = millisecondsOf([&] { manager.ProjectOpen(path.c_str(), ""); });
    times.read = millisecondsOf([&] {
        if (variables()->GetVariable(nameOf(n - 1)) != "1") exitfn("a wrong value\n");
    });
    times.renameEach = millisecondsOf([&] {
        for (int i = 0; i < n; ++i) variables()->RenameVariable(nameOf(i), "w" + nameOf(i));
    });
    times.remove = millisecondsOf([&] {
        for (int i = 0; i < n; ++i) variables()->RemoveVariable("w" + nameOf(i));
    });
    return times;
}

}  // namespace

int main(int argc, char** argv) {
    registerProjectNode();
    registerVariablesNode();
    setOutputHook([](int, const char*) {});
    const bool hasShm = qvplatform::fileSystem().status("/dev/shm").isDirectory();
    const std::string path =
        (hasShm ? "/dev/shm" : qvplatform::temporaryDirectory()) + "/qvbench_nodes.prj";
    std::vector<Times> tenth, whole;
    for (int run = 0; run < runs; ++run) {
        tenth.push_back(timeVariables(path, many / 10));
        whole.push_back(timeVariables(path, many));
    }
    qvplatform::fileSystem().remove(path);
    for (const auto& row : rows) {
        const auto median = [&](std::vector<Times>& times) {
            std::sort(times.begin(), times.end(),
                      [&](const Times& a, const Times& b) { return a.*row.time < b.*row.time; });
            return times[times.size() / 2].*row.time;
        };
        // 10 would be quadratic; 100,000 variables no longer fit into the caches.
        qvAddRow(row.what, median(whole), 10 * median(tenth), "a tenth of them, times 10", 2.5,
                 "ms");
    }
    return qvRunBenchmarks(argc, argv, {});
}
