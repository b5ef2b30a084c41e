#include "qvutils/common/platform/console.h"
#include "qvutils/common/platform/win32text.h"

#include <shellapi.h>

namespace qvplatform {

namespace {

/// NUL and printers are character devices too, so _isatty alone does not tell.
bool isConsole(DWORD standardHandle) {
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(standardHandle), &mode) != 0;
}

}  // namespace

bool inputIsTerminal() { return isConsole(STD_INPUT_HANDLE); }

bool outputIsTerminal() { return isConsole(STD_OUTPUT_HANDLE); }

void prepareConsole() {
    SetConsoleCP(CP_UTF8);
    SetConsoleOutputCP(CP_UTF8);
}

std::vector<std::string> utf8Arguments(int argc, char** argv) {
    int count = 0;
    wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
    if (!wide) return {argv, argv + argc};
    std::vector<std::string> arguments;
    for (int i = 0; i < count; ++i) arguments.push_back(toUtf8(wide[i]));
    LocalFree(wide);
    return arguments;
}

}  // namespace qvplatform
