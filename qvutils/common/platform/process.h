#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "qvutils/common/platform/qvexport.h"

/// The process, its surroundings and the machine. Paths and texts are UTF-8.
namespace qvplatform {

QVCORE_API int processId();

/// Empty when the system cannot tell.
QVCORE_API std::string currentDirectory();
/// On failure the cause is in `errno`.
QVCORE_API bool setCurrentDirectory(const std::string& path);
/// The full path of the running program; empty when the system cannot tell.
QVCORE_API std::string executablePath();

/// False when the variable is not set; `value` is then left alone.
QVCORE_API bool environmentVariable(const char* name, std::string& value);

/// Where temporary files go; no separator at its end.
QVCORE_API std::string temporaryDirectory();
/// The user's own directory for an application's settings or for what it remembers between runs
/// (histories). Not created here; `application` may be empty to get the directory of all.
QVCORE_API std::string configDirectory(const std::string& application);
QVCORE_API std::string stateDirectory(const std::string& application);

/// False when the system does not tell its version.
QVCORE_API bool systemVersion(int& major, int& minor);
/// Installed memory in bytes; 0 when the system does not tell.
QVCORE_API std::uint64_t physicalMemory();

/// Starts a program (found through the search path) and does not wait for it. The first argument
/// is the program. On failure the cause is in `errno`.
QVCORE_API bool startProcess(const std::vector<std::string>& arguments);

}  // namespace qvplatform
