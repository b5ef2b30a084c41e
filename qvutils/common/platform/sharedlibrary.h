#pragma once
#include <string>

#include "qvutils/common/platform/qvexport.h"

namespace qvplatform {

/// A shared library that is loaded while this object lives, unless it is kept.
class QVCORE_API SharedLibrary {
public:
    SharedLibrary() = default;
    SharedLibrary(SharedLibrary&& other) noexcept;
    SharedLibrary& operator=(SharedLibrary&& other) noexcept;
    ~SharedLibrary() { close(); }

    /// Loads a library with all that it needs; what is missing is told now, not at the first call.
    /// A relative path starts at the current directory; the library search path is not used. On
    /// failure returns false and `error` is what the system says. An initialiser of the library
    /// that throws or crashes counts as a failure too; to survive that, some systems first load the
    /// library in a process of its own.
    bool open(const std::string& path, std::string& error);
    bool isOpen() const { return handle_ != nullptr; }
    /// Gives the library back. The system keeps it in memory while somebody else uses it, and on
    /// some systems in any case.
    void close();

    /// The address of what the library exports under that name; null when there is none.
    void* symbol(const char* name) const;

private:
    void* handle_ = nullptr;
};

}  // namespace qvplatform
