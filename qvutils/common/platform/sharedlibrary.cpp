#include "qvutils/common/platform/sharedlibrary.h"

#include <utility>

namespace qvplatform {

SharedLibrary::SharedLibrary(SharedLibrary&& other) noexcept
    : handle_(std::exchange(other.handle_, nullptr)) {}

SharedLibrary& SharedLibrary::operator=(SharedLibrary&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
}

}  // namespace qvplatform
