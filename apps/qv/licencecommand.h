#pragma once
#include <string>
#include <vector>

/// `qv licence` with the arguments after that word; returns the exit status.
int runLicence(const std::vector<std::string>& arguments);
