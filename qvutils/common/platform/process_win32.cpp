#include "qvutils/common/platform/process.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/win32text.h"

#include <shlobj.h>

#include <cerrno>

namespace qvplatform {

namespace {

/// Calls `fill(buffer, size)` with growing buffers until the text fits. It returns the length
/// without the terminator, 0 for failure, or the size needed or `size` itself when there is no
/// room: the two ways in which system functions say so.
template <class Fill>
std::string textFrom(Fill fill) {
    std::wstring text(MAX_PATH, L'\0');
    for (;;) {
        const DWORD size = static_cast<DWORD>(text.size());
        const DWORD length = fill(text.data(), size);
        if (length == 0) return {};
        if (length < size) return toUtf8(text.c_str());
        text.resize(length > size ? length : text.size() * 2);
    }
}

std::string withoutTrailingSeparators(std::string path) {
    while (path.size() > 3 && isPathSeparator(path.back())) path.pop_back();
    return path;
}

std::string userDirectory(int folder, const std::string& application) {
    wchar_t path[MAX_PATH];
    std::string base;
    if (SHGetFolderPathW(nullptr, folder, nullptr, SHGFP_TYPE_CURRENT, path) == S_OK) {
        base = toUtf8(path);
    } else {
        base = temporaryDirectory();
    }
    return application.empty() ? base : joinPath(base, application);
}

}  // namespace

int processId() { return static_cast<int>(GetCurrentProcessId()); }

std::string currentDirectory() {
    return textFrom([](wchar_t* text, DWORD size) { return GetCurrentDirectoryW(size, text); });
}

bool setCurrentDirectory(const std::string& path) {
    if (SetCurrentDirectoryW(toWide(path).c_str())) return true;
    setErrnoFromSystem();
    return false;
}

std::string executablePath() {
    return textFrom(
        [](wchar_t* text, DWORD size) { return GetModuleFileNameW(nullptr, text, size); });
}

bool environmentVariable(const char* name, std::string& value) {
    const std::wstring wide = toWide(name);
    SetLastError(ERROR_SUCCESS);
    const DWORD size = GetEnvironmentVariableW(wide.c_str(), nullptr, 0);
    if (size == 0) return false;
    value = textFrom([&wide](wchar_t* text, DWORD room) {
        return GetEnvironmentVariableW(wide.c_str(), text, room);
    });
    return true;
}

std::string temporaryDirectory() {
    return withoutTrailingSeparators(
        textFrom([](wchar_t* text, DWORD size) { return GetTempPathW(size, text); }));
}

std::string configDirectory(const std::string& application) {
    return userDirectory(CSIDL_APPDATA, application);
}

std::string stateDirectory(const std::string& application) {
    return userDirectory(CSIDL_LOCAL_APPDATA, application);
}

/// GetVersionEx tells programs without a manifest an old version; this function tells the truth.
bool systemVersion(int& major, int& minor) {
    using Ask = LONG(WINAPI*)(OSVERSIONINFOW*);
    const HMODULE library = GetModuleHandleW(L"ntdll.dll");
    if (!library) return false;
    const auto ask = reinterpret_cast<Ask>(
        reinterpret_cast<void*>(GetProcAddress(library, "RtlGetVersion")));
    OSVERSIONINFOW info{};
    info.dwOSVersionInfoSize = sizeof info;
    if (!ask || ask(&info) != 0) return false;
    major = static_cast<int>(info.dwMajorVersion);
    minor = static_cast<int>(info.dwMinorVersion);
    return true;
}

std::uint64_t physicalMemory() {
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    return GlobalMemoryStatusEx(&status) ? status.ullTotalPhys : 0;
}

bool startProcess(const std::vector<std::string>& arguments) {
    if (arguments.empty()) {
        errno = EINVAL;
        return false;
    }
    std::wstring line = commandLine(arguments);
    STARTUPINFOW start{};
    start.cb = sizeof start;
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start,
                        &process)) {
        setErrnoFromSystem();
        return false;
    }
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return true;
}

}  // namespace qvplatform
