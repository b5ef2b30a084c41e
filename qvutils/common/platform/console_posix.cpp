#include <unistd.h>

#include "qvutils/common/platform/console.h"

namespace qvplatform {

bool inputIsTerminal() { return isatty(STDIN_FILENO) != 0; }

bool outputIsTerminal() { return isatty(STDOUT_FILENO) != 0; }

void prepareConsole() {}

std::vector<std::string> utf8Arguments(int argc, char** argv) { return {argv, argv + argc}; }

}  // namespace qvplatform
