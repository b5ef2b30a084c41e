#include "qvutils/common/tasks/threadid.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <queue>
#include <vector>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/platform/threads.h"
#include "qvutils/common/tasks/threadnumbers.h"

namespace {

class Numbers {
public:
    /// -1 when all are in use.
    int take() {
        const std::lock_guard hold(mutex_);
        if (!free_.empty()) {
            const int number = free_.top();
            free_.pop();
            return number;
        }
        return next_ == qvMaxThreads ? -1 : next_++;
    }
    void giveBack(int number) {
        const std::lock_guard hold(mutex_);
        free_.push(number);
    }

private:
    std::mutex mutex_;
    std::priority_queue<int, std::vector<int>, std::greater<>> free_;
    int next_ = 0;
};

/// Never destroyed: threads may end after the statics of the program are gone.
Numbers& numbers() {
    static Numbers* const instance = new Numbers;
    return *instance;
}

}  // namespace

int qvThreadNumbers::take() {
    return numbers().take();
}

void qvThreadNumbers::giveBack(int number) {
    numbers().giveBack(number);
}

namespace {

thread_local int threadNumber = -1;

int firstAsked() {
    threadNumber = qvThreadNumbers::take();
    if (threadNumber < 0) {
        exitfn("Too many threads: more than %d are running at the same time", qvMaxThreads);
    }
    const auto giveBack = [](void* number) {
        qvThreadNumbers::giveBack(static_cast<int>(reinterpret_cast<std::intptr_t>(number)));
    };
    qvplatform::atThreadExit(giveBack, reinterpret_cast<void*>(std::intptr_t{threadNumber}));
    return threadNumber;
}

}  // namespace

int qvTaskThreadId() {
    return threadNumber >= 0 ? threadNumber : firstAsked();
}
