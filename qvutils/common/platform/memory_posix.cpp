#include <sys/mman.h>

#include <cstdint>

#include "qvutils/common/platform/memory.h"

namespace qvplatform {

void adviseLargePages(void* memory, std::size_t size) {
#ifdef MADV_HUGEPAGE
    constexpr std::uintptr_t page = std::uintptr_t{2} << 20;
    const auto start = (reinterpret_cast<std::uintptr_t>(memory) + page - 1) & ~(page - 1);
    const auto end = (reinterpret_cast<std::uintptr_t>(memory) + size) & ~(page - 1);
    if (start < end) madvise(reinterpret_cast<void*>(start), end - start, MADV_HUGEPAGE);
#else
    static_cast<void>(memory);
    static_cast<void>(size);
#endif
}

}  // namespace qvplatform
