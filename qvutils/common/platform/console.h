#pragma once
#include <string>
#include <vector>

#include "qvutils/common/platform/qvexport.h"

namespace qvplatform {

QVCORE_API bool inputIsTerminal();
QVCORE_API bool outputIsTerminal();

/// Called once by a program that talks to a terminal, before it opens anything: makes the terminal
/// take UTF-8, and opens standard streams that were closed.
QVCORE_API void prepareConsole();

/// The arguments of main() in UTF-8, the program's name first.
QVCORE_API std::vector<std::string> utf8Arguments(int argc, char** argv);

}  // namespace qvplatform
