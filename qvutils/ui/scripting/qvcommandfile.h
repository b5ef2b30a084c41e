#pragma once
#include <string>

#include "qvutils/common/platform/qvexport.h"

/// Reads a command file: a byte-order mark is left out, line ends become "\n". A file that cannot
/// be read or holds NUL bytes gives false, and `error` the message with the file's name.
QVCORE_API bool qvReadCommandFile(const std::string& path, std::string& text, std::string& error);
