#include "qvutils/common/platform/win32text.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

namespace qvplatform {

namespace {

/// An argument as the C runtime of the started program will read it back: a run of backslashes is
/// doubled before a double quote and at the end.
std::wstring quoted(const std::wstring& argument) {
    if (!argument.empty() && argument.find_first_of(L" \t\n\v\"") == argument.npos) {
        return argument;
    }
    std::wstring text = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t c : argument) {
        if (c == L'"') text.append(backslashes + 1, L'\\');
        backslashes = c == L'\\' ? backslashes + 1 : 0;
        text += c;
    }
    return text.append(backslashes, L'\\') + L'"';
}

}  // namespace

std::wstring toWide(const std::string& text) {
    const int size = static_cast<int>(text.size());
    const int length = MultiByteToWideChar(CP_UTF8, 0, text.data(), size, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(length), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), length);
    return wide;
}

std::string toUtf8(const wchar_t* text) {
    const int length = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (length <= 1) return {};
    std::string narrow(static_cast<std::size_t>(length), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, narrow.data(), length, nullptr, nullptr);
    narrow.pop_back();
    return narrow;
}

std::wstring commandLine(const std::vector<std::string>& arguments) {
    std::wstring line;
    for (const std::string& argument : arguments) {
        if (!line.empty()) line += L' ';
        line += quoted(toWide(argument));
    }
    return line;
}

void setErrnoFromSystem() {
    struct Pair {
        DWORD system;
        int number;
    };
    static const Pair table[] = {
        {ERROR_FILE_NOT_FOUND, ENOENT},     {ERROR_PATH_NOT_FOUND, ENOENT},
        {ERROR_INVALID_NAME, ENOENT},       {ERROR_BAD_PATHNAME, ENOENT},
        {ERROR_BAD_NETPATH, ENOENT},        {ERROR_INVALID_DRIVE, ENOENT},
        {ERROR_TOO_MANY_OPEN_FILES, EMFILE}, {ERROR_ACCESS_DENIED, EACCES},
        {ERROR_SHARING_VIOLATION, EACCES},  {ERROR_LOCK_VIOLATION, EACCES},
        {ERROR_WRITE_PROTECT, EROFS},       {ERROR_INVALID_HANDLE, EBADF},
        {ERROR_NOT_ENOUGH_MEMORY, ENOMEM},  {ERROR_OUTOFMEMORY, ENOMEM},
        {ERROR_FILE_EXISTS, EEXIST},        {ERROR_ALREADY_EXISTS, EEXIST},
        {ERROR_DISK_FULL, ENOSPC},          {ERROR_HANDLE_DISK_FULL, ENOSPC},
        {ERROR_DIR_NOT_EMPTY, ENOTEMPTY},   {ERROR_DIRECTORY, ENOTDIR},
        {ERROR_FILENAME_EXCED_RANGE, ENAMETOOLONG},
    };
    const DWORD cause = GetLastError();
    const Pair* const found = std::find_if(std::begin(table), std::end(table),
                                           [cause](const Pair& p) { return p.system == cause; });
    errno = found == std::end(table) ? EIO : found->number;
}

}  // namespace qvplatform
