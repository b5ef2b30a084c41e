#pragma once
#include <string>
#include <vector>

/// `qv eval` with the arguments after that word; returns the exit status.
int runEval(const std::vector<std::string>& arguments);
