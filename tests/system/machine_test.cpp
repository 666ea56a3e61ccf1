// The machine as applications see it, with a kernel and a host that answer what the test says.
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
BOOL host_answer = TRUE;

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
    lpBuffer[0] = L'u';
    *lpnSize += 1;
    return host_answer;
}

BOOL PTR_GetHostName(LPWSTR lpBuffer, LPDWORD lpnSize) {
    lpBuffer[0] = L'h';
    *lpnSize += 2;
    return host_answer;
}

BOOL PTR_SetHostName(LPCWSTR lpName, DWORD dwLength) {
    host_name = std::wstring(lpName, dwLength) + lpName[dwLength];
    return host_answer;
}

TEST(GlobalMemoryStatus, TellsAmountsInBytesAndThePercentageThatIsFree) {
    const struct {
        unsigned long total, free;
        unsigned unit;
        DWORD load;
    } cases[] = {
        {3, 2, 4096, 66},                    // truncated
        {0, 0, 1, 100},                      // no memory at all counts as free
        {3000000000ul, 2999999999ul, 1, 99}, // a hundred times that passes 32 bits
    };
    MEMORYSTATUS status = {};
    for (const auto& c : cases) {
        memory = {};
        memory.totalram = c.total;
        memory.freeram = c.free;
        memory.totalswap = 9;
        memory.freeswap = 8;
        memory.mem_unit = c.unit;
        const SIZE_T total = c.total * c.unit, free = c.free * c.unit;
        const MEMORYSTATUS expected = {32, c.load, total, free, 9 * c.unit, 8 * c.unit, total, free};
        status.dwLength = sizeof status; // what a ported source sets, more than 32 on a 64-bit host
        GlobalMemoryStatus(&status);
        EXPECT_EQ(std::memcmp(&status, &expected, sizeof status), 0) << c.total;
    }
    // The most that a field holds rather than the remainder.
    memory.totalram = ~0ul;
    memory.mem_unit = sizeof(SIZE_T) == 4 ? 2 : 1;
    GlobalMemoryStatus(&status);
    EXPECT_EQ(status.dwTotalPhys, ~SIZE_T{0});
    // A short record and a failed query leave it alone.
    for (const DWORD length : {0u, 31u, 32u}) {
        kernel_fails = length == 32;
        status = {length, 77, 1, 2, 3, 4, 5, 6};
        GlobalMemoryStatus(&status);
        EXPECT_EQ(status.dwLength, length);
        EXPECT_EQ(status.dwMemoryLoad, 77u);
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
    for (const auto& c : cases) {
        std::strcpy(kernel.release, c.release);
        const OSVERSIONINFO expected = {532, c.major, c.minor, c.build, 0, L"Linux"};
        std::memset(&version, 0x5A, sizeof version);
        EXPECT_EQ(GetVersionEx(&version), 1);
        EXPECT_EQ(std::memcmp(&version, &expected, offsetof(OSVERSIONINFO, szCSDVersion)), 0) << c.release;
        EXPECT_STREQ(version.szCSDVersion, L"Linux");
    }
    kernel_fails = true;
    EXPECT_EQ(GetVersionEx(&version), 0);
    EXPECT_EQ(GetVersionEx(nullptr), 0);
}

TEST(Names, AreTheHostsWithTheSameArgumentsAndResults) {
    for (const BOOL answer : {TRUE, FALSE, BOOL{7}}) {
        host_answer = answer;
        WCHAR user[4] = {}, machine[4] = {};
        DWORD size = 4;
        EXPECT_EQ(GetUserName(user, &size), answer);
        EXPECT_STREQ(user, L"u");
        EXPECT_EQ(GetComputerName(machine, &size), answer);
        EXPECT_STREQ(machine, L"h");
        EXPECT_EQ(size, 7u);
        EXPECT_EQ(SetComputerName(L"handheld") != 0, answer != 0);
        EXPECT_EQ(host_name, std::wstring(L"handheld") + L'\0') << "the name and its length";
    }
    host_answer = TRUE;
    EXPECT_FALSE(SetComputerName(L"") || SetComputerName(nullptr));
}

TEST(SystemParametersInfo, GivesTheMakerForEveryAction) {
    for (const UINT action : {UINT{SPI_GETOEMINFO}, 0u}) {
        WCHAR text[10] = L"#########";
        EXPECT_EQ(SystemParametersInfo(action, sizeof text, text, 0), 1);
        EXPECT_STREQ(text, L"Velmoran");
    }
    EXPECT_EQ(SystemParametersInfo(0, 0, nullptr, 0), 1);
}

TEST(NarrowCase, ChangesTextInPlaceByteByByte) {
    char text[] =
        "aB-9z\xC4\xE4\xFF"; // above 127 no letters in this locale, but they must reach the tables as such
    EXPECT_EQ(strupr(text), text);
    EXPECT_STREQ(text, "AB-9Z\xC4\xE4\xFF");
    EXPECT_STREQ(strlwr(text), "ab-9z\xC4\xE4\xFF");
    EXPECT_STREQ(strrev(text), "\xFF\xE4\xC4z9-ba");
    char empty[] = "";
    EXPECT_STREQ(strrev(empty), "");
    EXPECT_EQ(strupr(nullptr), nullptr);
}
