#pragma once
#include "apps/qv/options.h"

/// `qv serve`: lets programs outside command the application. Returns the exit status.
int runServe(const Options& options);
