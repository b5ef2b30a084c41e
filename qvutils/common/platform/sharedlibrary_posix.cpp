#include <dlfcn.h>

#include <exception>
#include <utility>

#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/common/platform/sharedlibrary.h"

namespace qvplatform {

bool SharedLibrary::open(const std::string& path, std::string& error) {
    close();
    // A name without a separator would be looked for in the library search path.
    const bool plainName = path.find('/') == path.npos;
    const std::string file = plainName ? joinPath(currentDirectory(), path) : path;
    try {
        handle_ = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (handle_) return true;
        const char* const text = dlerror();
        error = text ? text : "unknown error";
    } catch (const std::exception& thrown) {
        error = std::string("an initialiser failed: ") + thrown.what();
    } catch (...) {
        error = "an initialiser failed";
    }
    return false;
}

void SharedLibrary::close() {
    if (handle_) dlclose(std::exchange(handle_, nullptr));
}

void* SharedLibrary::symbol(const char* name) const {
    return handle_ ? dlsym(handle_, name) : nullptr;
}

}  // namespace qvplatform
