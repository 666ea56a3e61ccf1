// The machine as applications see it, with a kernel and a host that answer what the test says.
#include <clocale>
#include <cstring>
#include <gtest/gtest.h>
#include <kalto/host.h>
#include <kalto/system.h>
#include <string>
#include <sys/sysinfo.h>
#include <sys/utsname.h>

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
    struct Case {
        unsigned long total, free, swap, free_swap;
        unsigned unit;
        DWORD load;
    };
    const Case cases[] = {
        {1000, 500, 0, 0, 1, 50},
        {3, 2, 9, 8, 4096, 66},                    // truncated
        {0, 0, 0, 0, 1, 100},                      // no memory at all counts as free
        {3000000000ul, 2999999999ul, 1, 1, 1, 99}, // a hundred times that passes 32 bits
    };
    for (const Case& item : cases) {
        memory = {};
        memory.totalram = item.total;
        memory.freeram = item.free;
        memory.totalswap = item.swap;
        memory.freeswap = item.free_swap;
        memory.mem_unit = item.unit;
        MEMORYSTATUS status = {};
        status.dwLength = 32;
        GlobalMemoryStatus(&status);
        EXPECT_EQ(status.dwLength, 32u);
        EXPECT_EQ(status.dwMemoryLoad, item.load);
        EXPECT_EQ(status.dwTotalPhys, item.total * item.unit);
        EXPECT_EQ(status.dwAvailPhys, item.free * item.unit);
        EXPECT_EQ(status.dwTotalPageFile, item.swap * item.unit);
        EXPECT_EQ(status.dwAvailPageFile, item.free_swap * item.unit);
        EXPECT_EQ(status.dwTotalVirtual, status.dwTotalPhys);
        EXPECT_EQ(status.dwAvailVirtual, status.dwAvailPhys);
    }
}

TEST(GlobalMemoryStatus, TellsTheMostThatAFieldHoldsRatherThanTheRemainder) {
    memory = {};
    memory.totalram = ~0ul;
    memory.mem_unit = sizeof(SIZE_T) == 4 ? 2 : 1;
    MEMORYSTATUS status = {};
    status.dwLength = sizeof status; // what a ported source sets, more than 32 on a 64-bit host
    GlobalMemoryStatus(&status);
    EXPECT_EQ(status.dwTotalPhys, ~SIZE_T{0});
    EXPECT_EQ(status.dwLength, 32u);
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
    struct Case {
        const char* release;
        DWORD major, minor, build;
    };
    const Case cases[] = {
        {"3.10.17-rt", 3, 10, 17}, {"6.1.0-18.2-armmp", 6, 1, 0}, {"5.4", 5, 4, 0}, {"7", 7, 0, 0},
        {"4.x.9", 4, 0, 9},        {"2.6-rc1.39", 2, 6, 39},      {"", 0, 0, 0},
    };
    kernel_fails = false;
    std::strcpy(kernel.sysname, "Linux");
    for (const Case& item : cases) {
        std::strcpy(kernel.release, item.release);
        OSVERSIONINFO version;
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
    OSVERSIONINFO version = {};
    EXPECT_EQ(GetVersionEx(&version), 0);
    EXPECT_EQ(GetVersionEx(nullptr), 0);
}

TEST(Names, AreTheHostsWithTheSameArgumentsAndResults) {
    WCHAR buffer[4] = {};
    for (const BOOL answer : {TRUE, FALSE, BOOL{7}}) {
        host_answer = answer;
        DWORD size = 4;
        seen_buffer = nullptr;
        EXPECT_EQ(GetUserName(buffer, &size), answer);
        EXPECT_EQ(seen_buffer, buffer);
        EXPECT_EQ(size, 5u);
        seen_buffer = nullptr;
        EXPECT_EQ(GetComputerName(buffer, &size), answer);
        EXPECT_EQ(seen_buffer, buffer);
        EXPECT_EQ(size, 7u);
        host_name.clear();
        EXPECT_EQ(SetComputerName(L"handheld") != 0, answer != 0);
        EXPECT_EQ(host_name, L"handheld");
        EXPECT_EQ(host_name_length, 8u);
    }
    host_name.clear();
    EXPECT_EQ(SetComputerName(L""), 0);
    EXPECT_EQ(SetComputerName(nullptr), 0);
    EXPECT_EQ(host_name, L"");
}

TEST(SystemParametersInfo, GivesTheMakerForEveryAction) {
    for (const UINT action : {UINT{SPI_GETOEMINFO}, UINT{SPI_GETPLATFORMTYPE}, 0u, ~0u}) {
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
