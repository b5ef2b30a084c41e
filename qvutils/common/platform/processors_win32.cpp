#include <bit>
#include <cstdint>
#include <cstdlib>

#include "qvutils/common/platform/processors.h"
#include "qvutils/common/platform/win32text.h"

namespace qvplatform {

namespace {

using Record = SYSTEM_LOGICAL_PROCESSOR_INFORMATION;
using Query = BOOL(WINAPI*)(Record*, DWORD*);

/// Old systems do not have it, so it is looked up.
Query findQuery() {
    const HMODULE kernel = GetModuleHandleW(L"kernel32");
    if (!kernel) return nullptr;
    return reinterpret_cast<Query>(
        reinterpret_cast<void*>(GetProcAddress(kernel, "GetLogicalProcessorInformation")));
}

int countCores(const Record* records, DWORD size, ULONG_PTR usable) {
    int count = 0;
    for (DWORD i = 0; (i + 1) * sizeof(Record) <= size; ++i) {
        if (records[i].Relationship != RelationProcessorCore) continue;
        count += std::popcount(static_cast<std::uint64_t>(records[i].ProcessorMask & usable));
    }
    return count;
}

ULONG_PTR usableMask() {
    DWORD_PTR process = 0;
    DWORD_PTR system = 0;
    const bool known = GetProcessAffinityMask(GetCurrentProcess(), &process, &system);
    // A process that is spread over several groups of 64 processors has no single mask.
    return known && process ? process : ~ULONG_PTR{0};
}

}  // namespace

int processorCount() {
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return info.dwNumberOfProcessors ? static_cast<int>(info.dwNumberOfProcessors) : 1;
}

int usableProcessorCount() {
    const Query query = findQuery();
    if (!query) return processorCount();
    Record* records = nullptr;
    DWORD size = 0;
    while (!query(records, &size)) {
        if (GetLastError() != ERROR_INSUFFICIENT_BUFFER) {
            size = 0;
            break;
        }
        std::free(records);
        records = static_cast<Record*>(std::malloc(size));
        if (!records) return -1;
    }
    const int count = countCores(records, size, usableMask());
    std::free(records);
    return count;
}

int controlGroupLimit(const std::string&, const std::string&) {
    return 0;
}

}  // namespace qvplatform
