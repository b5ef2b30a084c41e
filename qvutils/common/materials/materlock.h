#pragma once
#include "qvutils/common/platform/qvexport.h"

/// The lock between queries of materials and reloading, in which queries never wait: a reload
/// publishes new contents, then waits until every query that may still read the old ones is over.
namespace qvmaterial {

/// Lives as long as a query reads contents. Queries may be nested.
class QVCORE_API Reading {
public:
    Reading();
    ~Reading();
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;
};

/// Returns when each query that was under way has ended, other than the calling thread's own: what
/// was published before the call is what every query sees from now on. False when the calling
/// thread itself is inside a query: then it has waited for nothing.
QVCORE_API bool waitForQueries();

}  // namespace qvmaterial
