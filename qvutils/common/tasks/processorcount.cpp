#include "qvutils/common/tasks/processorcount.h"

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/platform/processors.h"

int qvGetNumProcessors() {
    return qvplatform::processorCount();
}

int qvGetNumLogicalProcessors() {
    const int count = qvplatform::usableProcessorCount();
    if (count < 0) lprintf("\nError: Allocation failure\n");
    return count;
}
