#pragma once
#include <string>
#include <vector>

#include "qvutils/common/server/frame.h"

/// What the arguments of `qv serve` ask for.
struct ServeOptions {
    std::vector<std::string> files;
    int port = 5101;
    bool once = false;
    /// Where it is put down who connects and what runs; empty for nowhere.
    std::string log;
    bool anyUser = false;
    double stallSeconds = 10;
    unsigned largestMessage = qvFrameDefaultLimit;
    bool help = false;
};

/// Reads the arguments after `serve`. On wrong usage returns false and `error` says what is wrong.
bool parseServeOptions(const std::vector<std::string>& arguments, ServeOptions& options,
                       std::string& error);

/// The text of `qv serve --help`.
std::string serveUsage();
