#include "plugins/slabguide/qvslabnode.h"

/// Registered with the types of the library when the application starts.
static const qvProjectNodeInfoClass slabNodes(slabNodeInfo());
