#include <cstdio>
#include <utility>

#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/pluginstart_win32.h"
#include "qvutils/common/platform/sharedlibrary.h"
#include "qvutils/common/platform/win32text.h"

namespace qvplatform {

namespace {

/// What the initialisers of the library being opened have thrown. Of a library with another entry
/// point the loader gives the code of an exception as the cause, if it survives that.
thread_local char thrown[512];
constexpr DWORD thrownByCompiledCode = 0x20474343;

std::string systemText(DWORD cause) {
    if (*thrown) return std::string("an initialiser failed: ") + thrown;
    if (cause == thrownByCompiledCode) return "an initialiser failed";
    wchar_t text[512];
    DWORD length = FormatMessageW(
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
        nullptr, cause, 0, text, 512, nullptr);
    while (length && (text[length - 1] == L' ' || text[length - 1] == L'.')) --length;
    text[length] = L'\0';
    return (length ? toUtf8(text) : "system error") + " (" + std::to_string(cause) + ")";
}

/// The loader wants a full path with backslashes: then what the library needs is also looked for
/// beside it.
std::wstring loaderPath(const std::string& path) {
    const std::wstring wide = toWide(path);
    std::wstring full(wide.size() + MAX_PATH, L'\0');
    DWORD length =
        GetFullPathNameW(wide.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
    if (length >= full.size()) {
        full.resize(length);
        length = GetFullPathNameW(wide.c_str(), length, full.data(), nullptr);
    }
    full.resize(length);
    return full;
}

/// No message boxes about libraries that are missing.
class QuietLoader {
public:
    QuietLoader() { SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &before_); }
    ~QuietLoader() { SetThreadErrorMode(before_, nullptr); }
    QuietLoader(const QuietLoader&) = delete;
    QuietLoader& operator=(const QuietLoader&) = delete;

private:
    DWORD before_ = 0;
};

}  // namespace

bool SharedLibrary::open(const std::string& path, std::string& error) {
    close();
    const QuietLoader quiet;
    *thrown = '\0';
    handle_ = LoadLibraryExW(loaderPath(path).c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (!handle_) error = systemText(GetLastError());
    return handle_ != nullptr;
}

void noteInitialiserFailure(const char* text) {
    std::snprintf(thrown, sizeof thrown, "%s", text);
}

void SharedLibrary::close() {
    if (handle_) FreeLibrary(static_cast<HMODULE>(std::exchange(handle_, nullptr)));
}

void* SharedLibrary::symbol(const char* name) const {
    if (!handle_) return nullptr;
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle_), name));
}

}  // namespace qvplatform
