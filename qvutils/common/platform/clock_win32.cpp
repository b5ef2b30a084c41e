#include "qvutils/common/platform/clock.h"
#include "qvutils/common/platform/win32text.h"

namespace qvplatform {

LocalTime Clock::localTime() {
    SYSTEMTIME now;
    GetLocalTime(&now);
    return {now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond};
}

}  // namespace qvplatform
