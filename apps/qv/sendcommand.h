#pragma once
#include <string>
#include <vector>

/// `qv send` with the arguments after that word; returns the exit status.
int runSend(const std::vector<std::string>& arguments);
