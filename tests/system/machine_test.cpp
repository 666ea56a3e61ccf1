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
int failure = 0; // of the two calls: 0 or -1
std::wstring host_name;
BOOL host_answer = TRUE;

} // namespace

extern "C" KALTO_API int sysinfo(struct sysinfo* info) noexcept {
    *info = memory;
    return failure;
}

extern "C" KALTO_API int uname(utsname* system) noexcept {
    *system = kernel;
    return failure;
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
    for (const DWORD length : {31u, 32u}) {
        failure = length == 32 ? -1 : 0;
        status = {length, 77, 1, 2, 3, 4, 5, 6};
        GlobalMemoryStatus(&status);
        EXPECT_EQ(status.dwMemoryLoad, 77u);
    }
    GlobalMemoryStatus(nullptr);
}

TEST(GetVersionEx, SplitsTheReleaseAtItsFirstTwoDots) {
    const struct {
        const char* release;
        DWORD major, minor, build;
    } cases[] = {{"3.10.17-rt", 3, 10, 17}, {"6.1-x.0-18.2", 6, 1, 0}, {"7", 7, 0, 0}, {"4.x.9", 4, 0, 9}};
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
    failure = -1;
    EXPECT_FALSE(GetVersionEx(&version) || GetVersionEx(nullptr));
}

TEST(SetComputerName, HandsTheNameAndItsLengthToTheHost) {
    for (const BOOL answer : {FALSE, BOOL{7}}) {
        host_answer = answer;
        EXPECT_EQ(SetComputerName(L"handheld"), answer != 0);
        EXPECT_EQ(host_name, std::wstring(L"handheld") + L'\0');
    }
    EXPECT_FALSE(SetComputerName(L"") || SetComputerName(nullptr));
}

TEST(SystemParametersInfo, GivesTheMakerForEveryAction) {
    WCHAR text[10] = L"#########";
    EXPECT_EQ(SystemParametersInfo(0, sizeof text, text, 0), 1);
    EXPECT_STREQ(text, L"Velmoran");
    EXPECT_EQ(SystemParametersInfo(0, 0, nullptr, 0), 1);
}

TEST(NarrowCase, ChangesTextInPlaceByteByByte) {
    char text[] =
        "aB-9z\xC4\xFF"; // above 127 no letters in this locale, but they must reach the tables as such
    EXPECT_EQ(strupr(text), text);
    EXPECT_STREQ(text, "AB-9Z\xC4\xFF");
    EXPECT_STREQ(strlwr(text), "ab-9z\xC4\xFF");
    EXPECT_STREQ(strrev(text), "\xFF\xC4z9-ba");
    EXPECT_EQ(strupr(nullptr), nullptr);
}
