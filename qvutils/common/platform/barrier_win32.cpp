#include "qvutils/common/platform/barrier.h"
#include "qvutils/common/platform/win32text.h"

namespace qvplatform {

bool hasProcessBarrier() { return true; }

bool processBarrier() {
    FlushProcessWriteBuffers();
    return true;
}

}  // namespace qvplatform
