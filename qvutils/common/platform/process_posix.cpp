#include <fcntl.h>
#include <signal.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"

namespace qvplatform {

namespace {

std::string withoutTrailingSeparators(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

/// The directory that `variable` names, or `fallback` in the user's home directory.
std::string userDirectory(const char* variable, const char* fallback,
                          const std::string& application) {
    std::string base;
    if (!environmentVariable(variable, base) || base.empty() || base[0] != '/') {
        std::string home;
        if (!environmentVariable("HOME", home) || home.empty()) home = temporaryDirectory();
        base = joinPath(home, fallback);
    }
    return application.empty() ? base : joinPath(base, application);
}

/// Runs in the child: only calls that are safe after a fork in a program with threads. The error
/// number goes up the pipe; a successful start closes it.
[[noreturn]] void runChild(char* const* arguments, int report) {
    // A child of a child, so that nobody has to wait for it.
    const pid_t child = fork();
    if (child == 0) {
        sigset_t none;
        sigemptyset(&none);
        sigprocmask(SIG_SETMASK, &none, nullptr);
        execvp(arguments[0], arguments);
    }
    if (child <= 0) {
        const int cause = errno;
        const ssize_t ignored = ::write(report, &cause, sizeof cause);
        static_cast<void>(ignored);
    }
    _exit(0);
}

}  // namespace

int processId() { return static_cast<int>(getpid()); }

std::string currentDirectory() {
    std::string path(256, '\0');
    while (!getcwd(path.data(), path.size())) {
        if (errno != ERANGE) return {};
        path.resize(path.size() * 2);
    }
    path.resize(path.find('\0'));
    return path;
}

bool setCurrentDirectory(const std::string& path) { return chdir(path.c_str()) == 0; }

std::string executablePath() {
    std::string path(256, '\0');
    for (;;) {
        const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
        if (length < 0) return {};
        if (static_cast<std::size_t>(length) < path.size()) {
            path.resize(static_cast<std::size_t>(length));
            return path;
        }
        path.resize(path.size() * 2);
    }
}

bool environmentVariable(const char* name, std::string& value) {
    const char* const text = std::getenv(name);
    if (text) value = text;
    return text != nullptr;
}

std::string temporaryDirectory() {
    std::string path;
    if (!environmentVariable("TMPDIR", path) || path.empty()) path = "/tmp";
    return withoutTrailingSeparators(path);
}

std::string configDirectory(const std::string& application) {
    return userDirectory("XDG_CONFIG_HOME", ".config", application);
}

std::string stateDirectory(const std::string& application) {
    return userDirectory("XDG_STATE_HOME", ".local/state", application);
}

bool systemVersion(int& major, int& minor) {
    utsname names{};
    return uname(&names) == 0 && std::sscanf(names.release, "%d.%d", &major, &minor) == 2;
}

std::uint64_t physicalMemory() {
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long size = sysconf(_SC_PAGESIZE);
    if (pages <= 0 || size <= 0) return 0;
    return static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(size);
}

bool startProcess(const std::vector<std::string>& arguments) {
    if (arguments.empty()) {
        errno = EINVAL;
        return false;
    }
    std::vector<char*> pointers;
    for (const std::string& argument : arguments) {
        pointers.push_back(const_cast<char*>(argument.c_str()));
    }
    pointers.push_back(nullptr);

    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return false;
    const pid_t child = fork();
    if (child == 0) runChild(pointers.data(), ends[1]);
    ::close(ends[1]);
    int cause = child < 0 ? errno : 0;
    if (child > 0) {
        if (::read(ends[0], &cause, sizeof cause) != sizeof cause) cause = 0;
        while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    ::close(ends[0]);
    errno = cause;
    return cause == 0;
}

}  // namespace qvplatform
