// A library with the task service inside, to be loaded and unloaded.
#include <atomic>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/pluginexport.h"
#include "qvutils/common/tasks/qvtask.h"

namespace {

class Count : public qvTask {
public:
    std::atomic<int> sum = 0;
    void Run(int first, int last, int) override { sum += last - first + 1; }
};

}  // namespace

extern "C" {

QV_PLUGIN_EXPORT int runALoopAlone() {
    Count count;
    qvTask::SpawnLoopSync(&count, 1, 1000, 1, qverr());
    return count.sum;
}

QV_PLUGIN_EXPORT int runALoop() {
    qvTask::StartWorkerThreads(3);
    return runALoopAlone();
}

}  // extern "C"
