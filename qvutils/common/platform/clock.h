#pragma once
#include <cstdint>

#include "qvutils/common/platform/qvexport.h"

namespace qvplatform {

struct LocalTime {
    int year = 1970;
    int month = 1;  ///< 1 to 12
    int day = 1;    ///< 1 to 31
    int hour = 0;
    int minute = 0;
    int second = 0;
};

/// Where the time comes from; a test can put a clock of its own in place.
class QVCORE_API Clock {
public:
    virtual ~Clock();
    virtual LocalTime localTime();
    /// Nanoseconds since some fixed moment; never goes back.
    virtual std::int64_t monotonic();
};

/// Null sets the real clock again. Returns the one used before; the caller keeps ownership.
QVCORE_API Clock* setClock(Clock* clock);

QVCORE_API LocalTime localTime();
QVCORE_API std::int64_t monotonicNanoseconds();

}  // namespace qvplatform
