#pragma once
#include "qvutils/common/platform/qvexport.h"

/// The lock between queries of materials and reloading, in which queries never wait: a reload
/// publishes new contents and keeps the old ones for as long as a query may still read them.
namespace qvmaterial {

struct Querying;

/// Lives as long as a query reads contents. Queries may be nested.
class QVCORE_API Reading {
public:
    Reading();
    ~Reading();
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;

private:
    Querying& own_;
};

/// True when every query that was under way has ended: what was replaced before the call is read no
/// more. False when one goes on for more than a moment, or is one of the calling thread itself.
/// It does not wait longer, since a query may in turn wait for what its caller holds.
QVCORE_API bool waitForQueries();

}  // namespace qvmaterial
