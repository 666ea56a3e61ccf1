// The machine as applications see it, with a kernel and a host that answer what the test says.
#include <clocale>
#include <cstring>
#include <gtest/gtest.h>
#include <kalto/host.h>
#include <kalto/system.h>
#include <string>
#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <utility>

namespace {

struct sysinfo memory = {};
utsname kernel = {};
bool kernel_fails = false;

std::wstring host_name;
DWORD host_name_length = 0;
BOOL host_answer = TRUE;
const void* seen_buffer = nullptr;

} // namespace

extern "C" int sysinfo(struct sysinfo* info) noexcept {
    *info = memory;
    return kernel_fails ? -1 : 0;
}

extern "C" int uname(utsname* system) noexcept {
    *system = kernel;
    return kernel_fails ? -1 : 0;
}

BOOL PTR_GetUserName(LPWSTR lpBuffer, LPDWORD lpnSize) {
    seen_buffer = lpBuffer;
    *lpnSize += 1;
    return host_answer;
}

BOOL PTR_GetHostName(LPWSTR lpBuffer, LPDWORD lpnSize) {
    seen_buffer = lpBuffer;
    *lpnSize += 2;
    return host_answer;
}

BOOL PTR_SetHostName(LPCWSTR lpName, DWORD dwLength) {
    host_name = lpName;
    host_name_length = dwLength;
    return host_answer;
}

TEST(GlobalMemoryStatus, TellsAmountsInBytesAndThePercentageThatIsFree) {
    const struct {
        unsigned long total, free, swap, free_swap;
        unsigned unit;
        DWORD load;
    } cases[] = {
        {3, 2, 9, 8, 4096, 66},                    // truncated
        {0, 0, 0, 0, 1, 100},                      // no memory at all counts as free
        {3000000000ul, 2999999999ul, 1, 1, 1, 99}, // a hundred times that passes 32 bits
    };
    MEMORYSTATUS status = {};
    for (const auto& item : cases) {
        memory = {};
        memory.totalram = item.total;
        memory.freeram = item.free;
        memory.totalswap = item.swap;
        memory.freeswap = item.free_swap;
        memory.mem_unit = item.unit;
        status.dwLength = sizeof status; // what a ported source sets, more than 32 on a 64-bit host
        GlobalMemoryStatus(&status);
        EXPECT_EQ(status.dwLength, 32u);
        EXPECT_EQ(status.dwMemoryLoad, item.load);
        const SIZE_T shown[] = {status.dwTotalPhys,     status.dwAvailPhys,    status.dwTotalPageFile,
                                status.dwAvailPageFile, status.dwTotalVirtual, status.dwAvailVirtual};
        const unsigned long amounts[] = {item.total,     item.free,  item.swap,
                                         item.free_swap, item.total, item.free};
        for (int i = 0; i < 6; ++i)
            EXPECT_EQ(shown[i], amounts[i] * item.unit) << i;
    }
    // The most that a field holds rather than the remainder.
    memory.totalram = ~0ul;
    memory.mem_unit = sizeof(SIZE_T) == 4 ? 2 : 1;
    GlobalMemoryStatus(&status);
    EXPECT_EQ(status.dwTotalPhys, ~SIZE_T{0});
}

TEST(GlobalMemoryStatus, LeavesAShortRecordAndAFailedQueryAlone) {
    MEMORYSTATUS untouched;
    std::memset(&untouched, 0x5A, sizeof untouched);
    for (const DWORD length : {0u, 20u, 31u, 32u}) {
        untouched.dwLength = length;
        kernel_fails = length == 32;
        MEMORYSTATUS status = untouched;
        GlobalMemoryStatus(&status);
        EXPECT_EQ(std::memcmp(&status, &untouched, sizeof status), 0) << length;
    }
    GlobalMemoryStatus(nullptr);
}

TEST(GetVersionEx, SplitsTheReleaseAtItsFirstTwoDots) {
    const struct {
        const char* release;
        DWORD major, minor, build;
    } cases[] = {
        {"3.10.17-rt", 3, 10, 17}, {"6.1.0-18.2-armmp", 6, 1, 0},
        {"5.4", 5, 4, 0},          {"7", 7, 0, 0},
        {"4.x.9", 4, 0, 9},        {"", 0, 0, 0},
    };
    OSVERSIONINFO version;
    std::strcpy(kernel.sysname, "Linux");
    for (const auto& item : cases) {
        std::strcpy(kernel.release, item.release);
        std::memset(&version, 0x5A, sizeof version);
        EXPECT_EQ(GetVersionEx(&version), 1);
        EXPECT_EQ(version.dwOSVersionInfoSize, 532u);
        EXPECT_EQ(version.dwPlatformId, 0u);
        EXPECT_EQ(version.dwMajorVersion, item.major) << item.release;
        EXPECT_EQ(version.dwMinorVersion, item.minor) << item.release;
        EXPECT_EQ(version.dwBuildNumber, item.build) << item.release;
        EXPECT_STREQ(version.szCSDVersion, L"Linux");
    }
    kernel_fails = true;
    EXPECT_EQ(GetVersionEx(&version), 0);
    EXPECT_EQ(GetVersionEx(nullptr), 0);
}

TEST(Names, AreTheHostsWithTheSameArgumentsAndResults) {
    WCHAR buffer[4] = {};
    for (const BOOL answer : {TRUE, FALSE, BOOL{7}}) {
        host_answer = answer;
        DWORD size = 4;
        EXPECT_EQ(GetUserName(buffer, &size), answer);
        EXPECT_EQ(std::exchange(seen_buffer, nullptr), buffer);
        EXPECT_EQ(size, 5u);
        EXPECT_EQ(GetComputerName(buffer, &size), answer);
        EXPECT_EQ(std::exchange(seen_buffer, nullptr), buffer);
        EXPECT_EQ(size, 7u);
        EXPECT_EQ(SetComputerName(L"handheld") != 0, answer != 0);
        EXPECT_EQ(std::exchange(host_name, L""), L"handheld");
        EXPECT_EQ(host_name_length, 8u);
    }
    EXPECT_EQ(SetComputerName(L""), 0);
    EXPECT_EQ(SetComputerName(nullptr), 0);
    EXPECT_EQ(host_name, L"");
}

TEST(SystemParametersInfo, GivesTheMakerForEveryAction) {
    for (const UINT action : {UINT{SPI_GETOEMINFO}, 0u}) {
        WCHAR text[10] = L"#########";
        EXPECT_EQ(SystemParametersInfo(action, sizeof text, text, 0), 1);
        EXPECT_STREQ(text, L"Velmoran");
        EXPECT_EQ(text[9], L'\0');
    }
    EXPECT_EQ(SystemParametersInfo(0, 0, nullptr, 0), 1);
}

TEST(NarrowCase, ChangesTextInPlaceByteByByte) {
    char text[] = "aB-9z";
    EXPECT_EQ(strupr(text), text);
    EXPECT_STREQ(text, "AB-9Z");
    EXPECT_STREQ(strlwr(text), "ab-9z");
    EXPECT_STREQ(strrev(text), "z9-ba");
    char empty[] = "";
    EXPECT_STREQ(strrev(empty), "");
    EXPECT_EQ(strupr(nullptr), nullptr);
    // Bytes above 127 must reach the tables as such; in this locale they are no letters.
    char bytes[] = "\xC4\xE4\xFF";
    EXPECT_STREQ(strlwr(bytes), "\xC4\xE4\xFF");
}
