#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/lefttemporaries.h"
#include "qvutils/common/platform/win32text.h"

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <iterator>
#include <string>
#include <vector>

namespace qvplatform {

namespace {

bool succeeded(BOOL done) {
    if (!done) setErrnoFromSystem();
    return done != 0;
}

/// A name that no other file in the directory is likely to have.
std::string temporaryName() {
    static std::atomic<unsigned> counter = 0;
    return ".qv" + std::to_string(GetCurrentProcessId()) + "-" +
           std::to_string(GetTickCount64()) + "-" + std::to_string(counter++) + ".tmp";
}

bool isDirectoryName(const std::wstring& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

/// "r" becomes L"rbN", "w+" becomes L"w+bN": binary, and not inherited by child processes.
std::wstring wideMode(const std::string& mode) {
    std::string full = mode;
    if (full.find('b') == full.npos) full += 'b';
    return toWide(full + "N");
}

}  // namespace

FILE* FileSystem::open(const std::string& path, const char* mode) {
    const std::wstring wide = toWide(path);
    if (isDirectoryName(wide)) {
        errno = EISDIR;
        return nullptr;
    }
    return _wfopen(wide.c_str(), wideMode(mode).c_str());
}

bool FileSystem::seek(FILE* file, std::int64_t offset, int origin) {
    return _fseeki64(file, offset, origin) == 0;
}

std::int64_t FileSystem::tell(FILE* file) { return _ftelli64(file); }

bool FileSystem::sync(FILE* file) {
    if (std::fflush(file) != 0) return false;
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(file)));
    return succeeded(FlushFileBuffers(handle));
}

bool FileSystem::rename(const std::string& from, const std::string& to) {
    return succeeded(MoveFileExW(toWide(from).c_str(), toWide(to).c_str(),
                                 MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH));
}

FileStatus FileSystem::status(const std::string& path) {
    FileStatus status;
    const std::wstring wide = toWide(path);
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!GetFileAttributesExW(wide.c_str(), GetFileExInfoStandard, &data)) return status;
    const bool directory = (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    const bool device = (data.dwFileAttributes & FILE_ATTRIBUTE_DEVICE) != 0;
    status.kind = directory ? FileKind::directory : device ? FileKind::other : FileKind::file;
    status.size = static_cast<std::int64_t>(data.nFileSizeHigh) << 32 | data.nFileSizeLow;
    status.modified = static_cast<std::int64_t>(data.ftLastWriteTime.dwHighDateTime) << 32 |
                      data.ftLastWriteTime.dwLowDateTime;
    status.writable = directory || _waccess(wide.c_str(), 2) == 0;
    return status;
}

bool FileSystem::makeDirectory(const std::string& path, bool) {
    // A user's own folders keep others out already: a directory made there inherits that.
    if (CreateDirectoryW(toWide(path).c_str(), nullptr)) return true;
    setErrnoFromSystem();
    return errno == EEXIST && status(path).isDirectory();
}

// Rights come from the directory here.
FILE* FileSystem::openTemporary(const std::string& directory, std::string& path, bool) {
    removeLeftTemporaries(directory);
    constexpr int attempts = 100;
    for (int i = 0; i < attempts; ++i) {
        path = joinPath(directory, temporaryName());
        const int descriptor =
            _wopen(toWide(path).c_str(), _O_RDWR | _O_CREAT | _O_EXCL | _O_BINARY | _O_NOINHERIT,
                   _S_IREAD | _S_IWRITE);
        if (descriptor >= 0) return _fdopen(descriptor, "w+b");
        if (errno != EEXIST) break;
    }
    path.clear();
    return nullptr;
}

bool FileSystem::copyPermissions(const std::string& from, const std::string& to) {
    const std::wstring source = toWide(from);
    const std::wstring target = toWide(to);
    const DWORD attributes = GetFileAttributesW(source.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) return succeeded(FALSE);
    SetFileAttributesW(target.c_str(), attributes);

    // Network drives of other systems have no access lists: then there is nothing to copy.
    DWORD size = 0;
    GetFileSecurityW(source.c_str(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
    if (size == 0) return true;
    std::vector<char> list(size);
    if (!GetFileSecurityW(source.c_str(), DACL_SECURITY_INFORMATION, list.data(), size, &size)) {
        return succeeded(FALSE);
    }
    return succeeded(
        SetFileSecurityW(target.c_str(), DACL_SECURITY_INFORMATION, list.data()));
}

/// MOVEFILE_WRITE_THROUGH has waited for the disk already.
bool FileSystem::syncDirectory(const std::string&) { return true; }

std::string followLinks(const std::string& path) {
    const std::wstring wide = toWide(path);
    const DWORD attributes = GetFileAttributesW(wide.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_REPARSE_POINT)) {
        return path;
    }
    constexpr DWORD shared = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE file = CreateFileW(wide.c_str(), 0, shared, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (file == INVALID_HANDLE_VALUE) return path;
    wchar_t target[32768];
    const DWORD length = GetFinalPathNameByHandleW(file, target, std::size(target), 0);
    CloseHandle(file);
    return length > 0 && length < std::size(target) ? toUtf8(target) : path;
}

char pathSeparator() { return '\\'; }

char pathListSeparator() { return ';'; }

bool isPathSeparator(char c) { return c == '/' || c == '\\'; }

}  // namespace qvplatform
