#pragma once
#include <string>
#include <vector>

/// `qv material` with the arguments after that word; returns the exit status.
int runMaterial(const std::vector<std::string>& arguments);
