// What a user waits for when qv begins and ends: settings read, plug-ins loaded, one empty command.
#include <algorithm>
#include <string>
#include <vector>

#include "bench/qvbench.h"
#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/platform/childprocess.h"
#include "qvutils/common/platform/clock.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"

namespace {

constexpr int runs = 41;
constexpr double mostMore = 30;  // milliseconds

double millisecondsOf(const std::vector<std::string>& program) {
    qvplatform::ChildProcess child;
    const std::int64_t begin = qvplatform::monotonicNanoseconds();
    if (!child.start(program) || !child.wait(60000) || child.exitStatus() != 0)
        exitfn("%s did not run", program[0].c_str());
    return static_cast<double>(qvplatform::monotonicNanoseconds() - begin) * 1e-6;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    const std::string file =
        qvplatform::joinPath(qvplatform::temporaryDirectory(),
                             "qvbench" + std::to_string(qvplatform::processId()) + ".conf");
    qvplatform::SafeFile settings;
    if (!settings.open(file) ||
        !settings.write("[options]\nmainX=7\nmaterialDir=/m\nstopOnError=1\n[options/recentfiles]\n"
                        "file1=/a.prj\nfile2=/b.prj\n") ||
        !settings.commit())
        exitfn("%s", settings.error().c_str());
    std::vector<double> ours;
    std::vector<double> empty;
    for (int i = 0; i < runs; ++i) {
        ours.push_back(millisecondsOf({QV_PROGRAM, "--settings", file, "-c", ""}));
        empty.push_back(millisecondsOf({QV_EMPTY_PROGRAM}));
    }
    qvplatform::fileSystem().remove(file);
    qvAddRow("begin and end qv -c \"\"", median(ours), median(empty) + mostMore,
             "an empty program of the toolkit, and 30 ms", 1.0, "ms");
    return qvRunBenchmarks(argc, argv, {});
}
