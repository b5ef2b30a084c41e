#pragma once
#include <string>

/// The file's path from the root; a relative one is taken in the working directory.
std::string fullPath(const char* path);
/// The file name without its directory.
std::string fileNameOf(const std::string& path);
