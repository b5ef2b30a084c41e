#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <exception>
#include <utility>

#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/common/platform/sharedlibrary.h"

namespace qvplatform {

namespace {

constexpr unsigned longestTrial = 20;  // seconds
constexpr int initialiserFailed = 3;
int reportEnd = -1;

/// In the trial process: an exception has left an initialiser.
[[noreturn]] void reportException() {
    try {
        if (const std::exception_ptr thrown = std::current_exception()) {
            std::rethrow_exception(thrown);
        }
    } catch (const std::exception& thrown) {
        const char* const text = thrown.what();
        const ssize_t ignored = ::write(reportEnd, text, std::strlen(text));
        static_cast<void>(ignored);
    } catch (...) {
    }
    _exit(initialiserFailed);
}

[[noreturn]] void runTrial(const char* file, int report) {
    reportEnd = report;
    const rlimit none{};
    setrlimit(RLIMIT_CORE, &none);
    for (const int number : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGALRM}) {
        signal(number, SIG_DFL);
    }
    const int nowhere = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int stream : {0, 1, 2}) dup2(nowhere, stream);
    std::set_terminate(reportException);
    alarm(longestTrial);
    dlopen(file, RTLD_NOW | RTLD_LOCAL);
    _exit(0);
}

std::string readAll(int end) {
    std::string text;
    char piece[256];
    for (;;) {
        const ssize_t length = ::read(end, piece, sizeof piece);
        if (length < 0 && errno == EINTR) continue;
        if (length <= 0) return text;
        text.append(piece, static_cast<std::size_t>(length));
    }
}

/// What the end of the trial tells; empty when all was well.
std::string verdict(int status, const std::string& thrown) {
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM) {
        return "an initialiser did not end within " + std::to_string(longestTrial) + " s";
    }
    if (WIFSIGNALED(status)) {
        return std::string("an initialiser crashed: ") + strsignal(WTERMSIG(status));
    }
    switch (WEXITSTATUS(status)) {
        case 0:
            return {};
        case initialiserFailed:
            return "an initialiser failed: " + (thrown.empty() ? "unknown exception" : thrown);
        default:
            return "an initialiser ended the process";
    }
}

/// The system's loader does not let exceptions of initialisers through: they would end the
/// program. So the library is loaded in a process of its own first. The text says what went wrong
/// there, but for what dlopen itself complains about.
std::string tryInitialisers(const char* file) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return {};
    const pid_t child = fork();
    if (child == 0) runTrial(file, ends[1]);
    ::close(ends[1]);
    int status = 0;
    std::string thrown;
    if (child > 0) {
        thrown = readAll(ends[0]);
        while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
        }
    }
    ::close(ends[0]);
    return verdict(status, thrown);
}

}  // namespace

bool SharedLibrary::open(const std::string& path, std::string& error) {
    close();
    // A name without a separator would be looked for in the library search path.
    const bool plainName = path.find('/') == path.npos;
    const std::string file = plainName ? joinPath(currentDirectory(), path) : path;
    error = tryInitialisers(file.c_str());
    if (!error.empty()) return false;
    handle_ = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle_) return true;
    const char* const text = dlerror();
    error = text ? text : "unknown error";
    return false;
}

void SharedLibrary::close() {
    if (handle_) dlclose(std::exchange(handle_, nullptr));
}

void* SharedLibrary::symbol(const char* name) const {
    return handle_ ? dlsym(handle_, name) : nullptr;
}

}  // namespace qvplatform
