#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>

#include "qvutils/common/platform/childprocess.h"
#include "qvutils/common/platform/clock.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"

extern char** environ;

namespace qvplatform {

namespace {

/// What the child needs, made before the fork: after it nothing may be allocated.
struct Start {
    std::vector<char*> arguments;
    std::vector<char*> environment;
    int output;
    int nothing;
    int report;
    pid_t parent;
};

/// Runs in the child: only calls that are safe after a fork in a program with threads. The error
/// number goes up the pipe `report`; a successful start closes it.
[[noreturn]] void runChild(const Start& start) {
    setpgid(0, 0);
    // The child shall not outlive this process, however that ends; it may have ended by now.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != start.parent) _exit(0);
    for (const int signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGPIPE, SIGCHLD}) {
        ::signal(signal, SIG_DFL);
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    if (dup2(start.nothing, STDIN_FILENO) >= 0 && dup2(start.output, STDOUT_FILENO) >= 0 &&
        dup2(start.output, STDERR_FILENO) >= 0) {
        execve(start.arguments[0], start.arguments.data(), start.environment.data());
    }
    const int cause = errno;
    const ssize_t ignored = ::write(start.report, &cause, sizeof cause);
    static_cast<void>(ignored);
    _exit(127);
}

std::vector<char*> pointersTo(const std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> environmentWith(const ChildProcess::Variables& variables) {
    std::vector<std::string> all;
    for (char** entry = environ; entry && *entry; ++entry) {
        const std::string text = *entry;
        const std::string name = text.substr(0, text.find('='));
        const bool isReplaced = std::any_of(variables.begin(), variables.end(),
                                            [&](const auto& v) { return v.first == name; });
        if (!isReplaced) all.push_back(text);
    }
    for (const auto& [name, value] : variables) all.push_back(name + '=' + value);
    return all;
}

/// A descriptor that is closed at the end of its scope.
class Descriptor {
public:
    explicit Descriptor(int number = -1) : number_(number) {}
    ~Descriptor() { close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return number_; }
    int release() { return std::exchange(number_, -1); }
    void close() {
        const int errorBefore = errno;
        if (number_ >= 0) ::close(number_);
        number_ = -1;
        errno = errorBefore;
    }
    static bool makePipe(Descriptor& out, Descriptor& in) {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) return false;
        out.number_ = ends[0];
        in.number_ = ends[1];
        return true;
    }

private:
    int number_;
};

/// 0 when the child runs its program, else why it does not.
int readReport(int descriptor) {
    int cause = 0;
    ssize_t length = 0;
    do {
        length = ::read(descriptor, &cause, sizeof cause);
    } while (length < 0 && errno == EINTR);
    return length == sizeof cause ? cause : 0;
}

}  // namespace

std::string findProgram(const std::string& name) {
    std::string directories;
    environmentVariable("PATH", directories);
    for (std::size_t at = 0; at < directories.size();) {
        const std::size_t end = std::min(directories.find(':', at), directories.size());
        const std::string directory = directories.substr(at, end - at);
        at = end + 1;
        if (directory.empty() || directory[0] != '/') continue;
        const std::string path = joinPath(directory, name);
        if (access(path.c_str(), X_OK) == 0 && fileSystem().status(path).isFile()) return path;
    }
    return {};
}

ChildProcess::~ChildProcess() {
    if (running()) {
        kill();
        wait(-1);
    }
    // Only now may the system give the number to another process.
    if (started_) {
        while (waitpid(static_cast<pid_t>(process_), nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    closeOutput();
}

bool ChildProcess::start(const std::vector<std::string>& arguments, const Variables& variables) {
    if (arguments.empty() || started_) {
        errno = EINVAL;
        return false;
    }
    Descriptor output;
    Descriptor input;
    Descriptor report;
    Descriptor reporting;
    if (!Descriptor::makePipe(output, input) || !Descriptor::makePipe(report, reporting) ||
        fcntl(output.get(), F_SETFL, O_NONBLOCK) != 0) {
        return false;
    }
    // Room for what comes while a long command runs; the system may refuse.
    constexpr int room = 1 << 20;
    fcntl(output.get(), F_SETPIPE_SZ, room);
    const Descriptor nothing(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    if (nothing.get() < 0) return false;
    const std::vector<std::string> environment = environmentWith(variables);
    const Start start{pointersTo(arguments), pointersTo(environment), input.get(),
                      nothing.get(),         reporting.get(),         getpid()};
    const pid_t child = fork();
    if (child == 0) runChild(start);
    if (child < 0) return false;
    setpgid(child, child);
    reporting.close();
    if (const int cause = readReport(report.get())) {
        while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
        }
        errno = cause;
        return false;
    }
    process_ = child;
    output_ = output.release();
    started_ = true;
    return true;
}

/// The program is looked at but stays in the system's list, so that its number remains its own.
bool ChildProcess::running() {
    if (!started_ || ended_) return false;
    siginfo_t info{};
    const auto id = static_cast<id_t>(process_);
    const int result = waitid(P_PID, id, &info, WEXITED | WNOHANG | WNOWAIT);
    if (result != 0 && errno == EINTR) return true;
    if (result == 0 && info.si_pid == 0) return true;
    ended_ = true;
    constexpr int bySignal = 128;
    status_ = info.si_code == CLD_EXITED ? info.si_status : bySignal + info.si_status;
    return false;
}

bool ChildProcess::wait(int milliseconds) {
    const std::int64_t start = monotonicNanoseconds();
    constexpr std::int64_t nanoseconds = 1'000'000;
    while (running()) {
        if (milliseconds >= 0 && monotonicNanoseconds() - start >= milliseconds * nanoseconds) {
            return false;
        }
        constexpr timespec pause{0, 2 * nanoseconds};
        nanosleep(&pause, nullptr);
    }
    return true;
}

std::size_t ChildProcess::readOutput(char* buffer, std::size_t size) {
    if (output_ < 0) return 0;
    const ssize_t length = ::read(static_cast<int>(output_), buffer, size);
    if (length > 0) return static_cast<std::size_t>(length);
    if (length == 0) closeOutput();
    return 0;
}

void ChildProcess::closeOutput() {
    if (output_ >= 0) ::close(static_cast<int>(output_));
    output_ = -1;
}

void ChildProcess::interrupt() {
    if (started_) ::kill(-static_cast<pid_t>(process_), SIGINT);
}

void ChildProcess::kill() {
    if (started_) ::kill(-static_cast<pid_t>(process_), SIGKILL);
}

}  // namespace qvplatform
