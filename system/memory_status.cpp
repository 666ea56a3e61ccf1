#include <cstdint>
#include <kalto/system.h>
#include <limits>
#include <sys/sysinfo.h>

static_assert(sizeof(void*) != 4 || sizeof(MEMORYSTATUS) == 32, "applications rely on the layout");

namespace kalto {
namespace {

constexpr DWORD kRecordLength = 32; // on every target, where the fields are wider too

// Amounts beyond what a field can tell are told as the largest.
SIZE_T bytes(unsigned long units, unsigned unit) {
    const std::uint64_t amount = std::uint64_t{units} * unit;
    constexpr std::uint64_t kMost = std::numeric_limits<SIZE_T>::max();
    return static_cast<SIZE_T>(amount < kMost ? amount : kMost);
}

// Deliberate: the percentage that is free, not in use; applications on the device read it this way.
DWORD memory_load(const struct sysinfo& info) {
    return info.totalram == 0 ? 100 : static_cast<DWORD>(std::uint64_t{100} * info.freeram / info.totalram);
}

} // namespace
} // namespace kalto

void GlobalMemoryStatus(LPMEMORYSTATUS lpBuffer) {
    struct sysinfo info = {};
    if (lpBuffer == nullptr || lpBuffer->dwLength < kalto::kRecordLength || sysinfo(&info) != 0) {
        return;
    }
    lpBuffer->dwLength = kalto::kRecordLength;
    lpBuffer->dwMemoryLoad = kalto::memory_load(info);
    lpBuffer->dwTotalPhys = kalto::bytes(info.totalram, info.mem_unit);
    lpBuffer->dwAvailPhys = kalto::bytes(info.freeram, info.mem_unit);
    lpBuffer->dwTotalPageFile = kalto::bytes(info.totalswap, info.mem_unit);
    lpBuffer->dwAvailPageFile = kalto::bytes(info.freeswap, info.mem_unit);
    lpBuffer->dwTotalVirtual = lpBuffer->dwTotalPhys;
    lpBuffer->dwAvailVirtual = lpBuffer->dwAvailPhys;
}
