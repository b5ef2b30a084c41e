#include "qvutils/common/platform/childprocess.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/common/platform/win32text.h"

#include <algorithm>
#include <cerrno>
#include <cwchar>
#include <map>

namespace qvplatform {

namespace {

HANDLE handle(std::intptr_t value) {
    return reinterpret_cast<HANDLE>(value);
}
std::intptr_t number(HANDLE value) {
    return reinterpret_cast<std::intptr_t>(value);
}

/// A handle that is closed at the end of its scope.
class Handle {
public:
    explicit Handle(HANDLE value = nullptr) : value_(value) {}
    ~Handle() { close(); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    HANDLE get() const { return value_; }
    HANDLE* place() { return &value_; }
    HANDLE release() { return std::exchange(value_, nullptr); }
    bool isOpen() const { return value_ && value_ != INVALID_HANDLE_VALUE; }
    void close() {
        if (isOpen()) CloseHandle(value_);
        value_ = nullptr;
    }

private:
    HANDLE value_;
};

struct IgnoringCase {
    bool operator()(const std::wstring& a, const std::wstring& b) const {
        return _wcsicmp(a.c_str(), b.c_str()) < 0;
    }
};

/// The environment of the child: "name=value" after "name=value", each with a NUL, in the order of
/// the names, as the system wants it.
std::wstring environmentWith(const ChildProcess::Variables& variables) {
    std::map<std::wstring, std::wstring, IgnoringCase> all;
    wchar_t* const own = GetEnvironmentStringsW();
    for (const wchar_t* entry = own; entry && *entry; entry += std::wcslen(entry) + 1) {
        const std::wstring text = entry;
        const std::size_t equals = text.find(L'=', 1);  // names such as "=C:" begin with one
        if (equals != text.npos) all[text.substr(0, equals)] = text.substr(equals + 1);
    }
    if (own) FreeEnvironmentStringsW(own);
    for (const auto& [name, value] : variables) all[toWide(name)] = toWide(value);
    std::wstring block;
    for (const auto& [name, value] : all) (block += name + L'=' + value) += L'\0';
    return block += L'\0';
}

/// A job: what the program starts belongs to it too, and all of it ends with this process.
HANDLE makeJob() {
    Handle job(CreateJobObjectW(nullptr, nullptr));
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    if (job.isOpen()) {
        SetInformationJobObject(job.get(), JobObjectExtendedLimitInformation, &limits,
                                sizeof limits);
    }
    return job.release();
}

/// Names the handles that the child inherits; it inherits no others.
class InheritedHandles {
public:
    InheritedHandles(HANDLE input, HANDLE output) : handles_{input, output} {
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        bytes_.resize(size);
        made_ = InitializeProcThreadAttributeList(list(), 1, 0, &size) &&
                UpdateProcThreadAttribute(list(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles_,
                                          sizeof handles_, nullptr, nullptr);
    }
    ~InheritedHandles() {
        if (made_) DeleteProcThreadAttributeList(list());
    }
    InheritedHandles(const InheritedHandles&) = delete;
    InheritedHandles& operator=(const InheritedHandles&) = delete;

    bool made() const { return made_; }
    LPPROC_THREAD_ATTRIBUTE_LIST list() {
        return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(bytes_.data());
    }

private:
    HANDLE handles_[2];
    std::string bytes_;
    bool made_ = false;
};

bool startIn(HANDLE job, const std::vector<std::string>& arguments, std::wstring environment,
             HANDLE input, HANDLE output, Handle& process) {
    InheritedHandles inherited(input, output);
    if (!inherited.made()) return false;
    STARTUPINFOEXW start{};
    start.StartupInfo.cb = sizeof start;
    start.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    start.StartupInfo.hStdInput = input;
    start.StartupInfo.hStdOutput = output;
    start.StartupInfo.hStdError = output;
    start.lpAttributeList = inherited.list();
    // Suspended until it is in its job, lest what it starts escape. A group of its own keeps
    // Ctrl-C at the console from it.
    constexpr DWORD flags = CREATE_SUSPENDED | CREATE_NEW_PROCESS_GROUP |
                            CREATE_UNICODE_ENVIRONMENT | EXTENDED_STARTUPINFO_PRESENT;
    std::wstring line = commandLine(arguments);
    PROCESS_INFORMATION made{};
    if (!CreateProcessW(toWide(arguments[0]).c_str(), line.data(), nullptr, nullptr, TRUE, flags,
                        environment.data(), nullptr, &start.StartupInfo, &made)) {
        return false;
    }
    *process.place() = made.hProcess;
    const Handle thread(made.hThread);
    if (job) AssignProcessToJobObject(job, made.hProcess);
    ResumeThread(thread.get());
    return true;
}

}  // namespace

std::string findProgram(const std::string& name) {
    std::string directories;
    environmentVariable("PATH", directories);
    for (std::size_t at = 0; at < directories.size();) {
        const std::size_t end = std::min(directories.find(';', at), directories.size());
        std::string directory = directories.substr(at, end - at);
        at = end + 1;
        directory.erase(std::remove(directory.begin(), directory.end(), '"'), directory.end());
        const bool isFull = directory.size() > 2 && (directory[1] == ':' || directory[0] == '\\');
        const std::string path = joinPath(directory, name + ".exe");
        if (isFull && fileSystem().status(path).isFile()) return path;
    }
    return {};
}

ChildProcess::~ChildProcess() {
    if (running()) {
        kill();
        wait(-1);
    }
    if (group_) {
        // What the program has left behind may go on.
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION none{};
        SetInformationJobObject(handle(group_), JobObjectExtendedLimitInformation, &none,
                                sizeof none);
        CloseHandle(handle(group_));
    }
    if (process_) CloseHandle(handle(process_));
    closeOutput();
}

bool ChildProcess::start(const std::vector<std::string>& arguments, const Variables& variables) {
    if (arguments.empty() || started_) {
        errno = EINVAL;
        return false;
    }
    constexpr DWORD room = 1 << 20;
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    Handle output;
    Handle input;
    if (!CreatePipe(output.place(), input.place(), &inherit, room)) {
        setErrnoFromSystem();
        return false;
    }
    SetHandleInformation(output.get(), HANDLE_FLAG_INHERIT, 0);
    const Handle nothing(CreateFileW(L"NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                     &inherit, OPEN_EXISTING, 0, nullptr));
    Handle job(makeJob());
    Handle process;
    if (!nothing.isOpen() || !startIn(job.get(), arguments, environmentWith(variables),
                                      nothing.get(), input.get(), process)) {
        setErrnoFromSystem();
        return false;
    }
    process_ = number(process.release());
    group_ = number(job.release());
    output_ = number(output.release());
    started_ = true;
    return true;
}

bool ChildProcess::running() {
    return started_ && !wait(0);
}

bool ChildProcess::wait(int milliseconds) {
    if (!started_ || ended_) return true;
    const DWORD most = milliseconds < 0 ? INFINITE : static_cast<DWORD>(milliseconds);
    if (WaitForSingleObject(handle(process_), most) == WAIT_TIMEOUT) return false;
    DWORD status = 0;
    GetExitCodeProcess(handle(process_), &status);
    status_ = static_cast<int>(status);
    return ended_ = true;
}

std::size_t ChildProcess::readOutput(char* buffer, std::size_t size) {
    if (output_ == -1) return 0;
    DWORD there = 0;
    if (!PeekNamedPipe(handle(output_), nullptr, 0, nullptr, &there, nullptr)) {
        closeOutput();
        return 0;
    }
    if (there == 0) return 0;
    const DWORD most = static_cast<DWORD>(std::min<std::size_t>(size, there));
    DWORD length = 0;
    return ReadFile(handle(output_), buffer, most, &length, nullptr) ? length : 0;
}

void ChildProcess::closeOutput() {
    if (output_ != -1) CloseHandle(handle(output_));
    output_ = -1;
}

// A program without a console of its own cannot be asked.
void ChildProcess::interrupt() {}

void ChildProcess::kill() {
    if (!started_) return;
    constexpr UINT killed = 128 + 9;
    if (!group_ || !TerminateJobObject(handle(group_), killed)) {
        TerminateProcess(handle(process_), killed);
    }
}

}  // namespace qvplatform
