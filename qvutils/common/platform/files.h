#pragma once
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "qvutils/common/platform/qvexport.h"

/// Paths are UTF-8 everywhere.
namespace qvplatform {

enum class FileKind { missing, file, directory, other };

struct FileStatus {
    FileKind kind = FileKind::missing;
    std::int64_t size = 0;
    /// False also for a file that is marked read-only, whoever asks.
    bool writable = false;
    /// When it was last written to, in units and from a start that depend on the system.
    std::int64_t modified = 0;

    bool exists() const { return kind != FileKind::missing; }
    bool isFile() const { return kind == FileKind::file; }
    bool isDirectory() const { return kind == FileKind::directory; }
};

/// The only way from the library to files and directories, so that a test can put a failing one in
/// its place. A call that fails says so by its result and leaves the cause in `errno`.
class QVCORE_API FileSystem {
public:
    virtual ~FileSystem();

    /// Like fopen, but always binary and not inherited by child processes. A directory cannot be
    /// opened (EISDIR).
    virtual FILE* open(const std::string& path, const char* mode);
    /// The number of bytes read; below `size` only at the end of the file or after an error
    /// (ferror tells which).
    virtual std::size_t read(FILE* file, void* data, std::size_t size);
    virtual bool write(FILE* file, const void* data, std::size_t size);
    /// `origin` is SEEK_SET, SEEK_CUR or SEEK_END; offsets beyond 2 GiB work on every system.
    virtual bool seek(FILE* file, std::int64_t offset, int origin);
    /// The position in the file, or -1.
    virtual std::int64_t tell(FILE* file);
    /// Hands what was written to the disk; true once it is there.
    virtual bool sync(FILE* file);
    /// The file is closed whatever the result; false tells that written data were lost.
    virtual bool close(FILE* file);

    /// Renames and replaces a file called `to` in one step.
    virtual bool rename(const std::string& from, const std::string& to);
    /// Removes a file or an empty directory.
    virtual bool remove(const std::string& path);
    /// Follows symbolic links.
    virtual FileStatus status(const std::string& path);

    /// Also true when the directory exists already. One that is private to the user is made with
    /// no rights for others.
    virtual bool makeDirectory(const std::string& path, bool privateToUser = false);
    /// Removes a file or a directory with all in it; a symbolic link goes, not what it points to.
    /// True also when there was nothing.
    virtual bool removeTree(const std::string& path);
    /// The names in a directory, sorted, without "." and "..".
    virtual bool listDirectory(const std::string& path, std::vector<std::string>& names);

    /// Makes a new, empty file with a name of its own in `directory`, opened for writing; `path`
    /// receives its path. One that is private to the user is made with no rights for others.
    virtual FILE* openTemporary(const std::string& directory, std::string& path,
                                bool privateToUser = false);
    /// Gives the file `to` the owner (where allowed) and the access rights of the file `from`.
    virtual bool copyPermissions(const std::string& from, const std::string& to);
    /// Makes a rename in this directory last over a power failure, where the system can.
    virtual bool syncDirectory(const std::string& path);
};

/// The file system in use: the real one unless a test has set another.
QVCORE_API FileSystem& fileSystem();
/// Null sets the real one again. Returns the one used before; the caller keeps ownership.
QVCORE_API FileSystem* setFileSystem(FileSystem* system);

/// What `errno` stands for, in words ("No such file or directory").
QVCORE_API std::string errorText(int errorNumber);

/// Reads a whole file. `room(n)` is asked for a buffer of at least n bytes: first for the length of
/// the file and one byte more, again (keeping what is in it) only when the file turns out longer.
/// It may return null to give up (errno ENOMEM). `length` receives the number of bytes read.
QVCORE_API bool readWholeFile(const std::string& path,
                              const std::function<char*(std::size_t)>& room, std::size_t& length);
QVCORE_API bool readWholeFile(const std::string& path, std::string& text);

/// Turns each CR-LF into LF in place and returns the new length. Nothing else changes: a CR alone,
/// a NUL and a 0x1A are ordinary characters.
QVCORE_API std::size_t translateLineEnds(char* text, std::size_t length);

/// The native separator of directories.
QVCORE_API char pathSeparator();
/// What stands between the directories of a search path.
QVCORE_API char pathListSeparator();
/// True for "/" and, where the system says so, "\".
QVCORE_API bool isPathSeparator(char c);
/// `directory` and `name` with one separator between; an empty directory gives the name alone.
QVCORE_API std::string joinPath(const std::string& directory, const std::string& name);

/// The file's path from the root; a relative one is taken in the working directory. Steps "." are
/// left out; ".." stays, as it may lead elsewhere behind a symbolic link.
QVCORE_API std::string fullPath(const std::string& path);
/// What follows the last separator, "/" or "\" on every system.
QVCORE_API std::string fileNameOf(const std::string& path);

/// Makes a directory, private to the user, and those above it that are missing. False, with the
/// cause in `errno`, when that fails.
QVCORE_API bool makeDirectories(const std::string& path);

/// The path behind all symbolic links at the end of `path`; the last of them may point to nothing.
QVCORE_API std::string followLinks(const std::string& path);

/// A file that is replaced whole or not at all. All is written to a temporary file beside the
/// target, which takes the target's place in commit(). A symbolic link stays and what it points to
/// is replaced; the access rights of a replaced file are kept. A target that exists and is not
/// writable, or is a directory, cannot be opened. A device or pipe is written directly.
/// Each step returns false after a failure, as do all steps after it; error() explains the first.
class QVCORE_API SafeFile {
public:
    SafeFile() = default;
    SafeFile(const SafeFile&) = delete;
    SafeFile& operator=(const SafeFile&) = delete;
    /// Discards what was not committed.
    ~SafeFile();

    /// A file that is new is made private to the user on request.
    bool open(const std::string& path, bool privateToUser = false);
    /// For writers that need a FILE*; their errors are noticed by finish().
    FILE* stream() const { return file_; }
    bool write(const void* data, std::size_t size);
    bool write(const std::string& text) { return write(text.data(), text.size()); }
    /// All data are on the disk, under the temporary name.
    bool finish();
    /// Puts the new file in the target's place; calls finish() first when that was not done.
    bool commit();
    /// Removes the temporary file; the target stays as it was.
    void discard();

    const std::string& error() const { return error_; }

private:
    bool fail(const char* action, const std::string& path);

    FILE* file_ = nullptr;
    std::string target_;
    /// Empty when the target is written directly.
    std::string temporary_;
    bool finished_ = false;
    std::string error_;
};

}  // namespace qvplatform
