// The processor and the encoding of the locale.
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <kalto/porting.h>
#include <langinfo.h>
#include <sys/auxv.h>
#include <unistd.h>

namespace {

#if defined(__arm__)
constexpr WORD kArchitecture = PROCESSOR_ARCHITECTURE_ARM;
constexpr DWORD kProcessorType = PROCESSOR_STRONGARM;
constexpr uintptr_t kLastAddress = 0xBEFFFFFF;
#elif defined(__x86_64__)
constexpr WORD kArchitecture = PROCESSOR_ARCHITECTURE_AMD64;
constexpr DWORD kProcessorType = PROCESSOR_AMD_X8664;
constexpr uintptr_t kLastAddress = 0x7FFFFFFEFFFF;
#else
constexpr WORD kArchitecture = PROCESSOR_ARCHITECTURE_UNKNOWN;
constexpr DWORD kProcessorType = 0;
constexpr uintptr_t kLastAddress = UINTPTR_MAX / 2;
#endif
constexpr uintptr_t kFirstAddress = 0x10000;

DWORD_PTR mask_of(DWORD processors) {
    constexpr DWORD kBits = sizeof(DWORD_PTR) * 8;
    return processors >= kBits ? ~DWORD_PTR{0} : (DWORD_PTR{1} << processors) - 1;
}

struct Feature {
    DWORD number;
    unsigned long bit; // in what the kernel tells of the processor; 0: every processor of the kind has it
};

#if defined(__arm__)
constexpr Feature kFeatures[] = {
    {PF_ARM_THUMB, 1ul << 2},
    {PF_ARM_VFP10, 1ul << 6},
    {PF_ARM_DSP, 1ul << 7},
    {PF_ARM_JAZELLE, 1ul << 8},
    {PF_ARM_NEON_INSTRUCTIONS_AVAILABLE, 1ul << 12},
    {PF_ARM_DIVIDE_INSTRUCTION_AVAILABLE, 1ul << 17},
    {PF_ARM_VFP_32_REGISTERS_AVAILABLE, 1ul << 19},
};
#else
constexpr Feature kFeatures[] = {
#if defined(__x86_64__)
    {PF_COMPARE_EXCHANGE_DOUBLE, 0},       {PF_MMX_INSTRUCTIONS_AVAILABLE, 0},
    {PF_XMMI_INSTRUCTIONS_AVAILABLE, 0},   {PF_RDTSC_INSTRUCTION_AVAILABLE, 0},
    {PF_XMMI64_INSTRUCTIONS_AVAILABLE, 0},
#else
    {0xFFFFFFFFu, 0},
#endif
};
#endif

} // namespace

void GetSystemInfo(LPSYSTEM_INFO lpSystemInfo) {
    if (lpSystemInfo == nullptr)
        return;
    *lpSystemInfo = SYSTEM_INFO{};
    const auto processors = static_cast<DWORD>(sysconf(_SC_NPROCESSORS_ONLN));
    lpSystemInfo->wProcessorArchitecture = kArchitecture;
    lpSystemInfo->dwPageSize = static_cast<DWORD>(sysconf(_SC_PAGESIZE));
    lpSystemInfo->lpMinimumApplicationAddress = reinterpret_cast<LPVOID>(kFirstAddress);
    lpSystemInfo->lpMaximumApplicationAddress = reinterpret_cast<LPVOID>(kLastAddress);
    lpSystemInfo->dwActiveProcessorMask = mask_of(processors);
    lpSystemInfo->dwNumberOfProcessors = processors;
    lpSystemInfo->dwProcessorType = kProcessorType;
    lpSystemInfo->dwAllocationGranularity = lpSystemInfo->dwPageSize;
}

BOOL IsProcessorFeaturePresent(DWORD dwProcessorFeature) {
    const unsigned long bits = getauxval(AT_HWCAP);
    for (const Feature& feature : kFeatures)
        if (feature.number == dwProcessorFeature)
            return (bits & feature.bit) == feature.bit ? TRUE : FALSE;
    return FALSE;
}

UINT GetACP(void) {
    constexpr UINT kAscii = 20127;
    constexpr UINT kFirstLatin = 28591;
    constexpr int kLatinPages = 15;
    static constexpr char kLatin[] = "ISO-8859-";
    const char* const encoding = nl_langinfo(CODESET);
    if (std::strcmp(encoding, "UTF-8") == 0)
        return CP_UTF8;
    if (std::strncmp(encoding, kLatin, sizeof kLatin - 1) != 0)
        return kAscii;
    const int part = std::atoi(encoding + sizeof kLatin - 1);
    return part >= 1 && part <= kLatinPages ? kFirstLatin + static_cast<UINT>(part) - 1 : kAscii;
}
