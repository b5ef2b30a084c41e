#include <fcntl.h>
#include <unistd.h>

#include "qvutils/common/platform/console.h"

namespace qvplatform {

bool inputIsTerminal() { return isatty(STDIN_FILENO) != 0; }

bool outputIsTerminal() { return isatty(STDOUT_FILENO) != 0; }

// A file or socket that took the place of a closed standard stream would get what is printed.
void prepareConsole() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0) static_cast<void>(::open("/dev/null", O_RDWR));
    }
}

std::vector<std::string> utf8Arguments(int argc, char** argv) { return {argv, argv + argc}; }

}  // namespace qvplatform
