// Open files: positions, sizes, times and information; and what every call refuses.
#include "scratch.h"

#include <kalto/core.h>
#include <sys/time.h>

namespace {

TEST(File, PositionsAreThoseOfTheSystem) {
    const Scratch scratch;
    scratch.file("f", "0123456789");
    HANDLE file = scratch.open_file(L"f");
    const struct {
        LONG distance;
        DWORD method, expected;
    } cases[] = {
        {4, FILE_BEGIN, 4}, {3, FILE_CURRENT, 7},        {-2, FILE_CURRENT, 5},     {-1, FILE_END, 9},
        {5, FILE_END, 15},  {-1, FILE_BEGIN, ~DWORD{0}}, {0, FILE_CURRENT, 15},     // as it was
        {0, 3, ~DWORD{0}},  {0, 4, ~DWORD{0}},           {0, ~DWORD{0}, ~DWORD{0}}, // no methods of ours
    };
    LONG high = 77;
    for (const auto& c : cases)
        EXPECT_EQ(SetFilePointer(file, c.distance, &high, c.method), c.expected)
            << c.distance << ' ' << c.method;
    EXPECT_EQ(high, 77);
    CloseHandle(file);
}

TEST(File, PositionsBeyond4GigabytesWorkAndShowTheirLowerHalf) {
    const Scratch scratch;
    const std::string path = scratch.file("f");
    HANDLE file = scratch.open_file(L"f", GENERIC_WRITE);
    for (int i = 0; i < 3; ++i)
        SetFilePointer(file, 0x7FFFFFFF, nullptr, FILE_CURRENT);
    EXPECT_EQ(SetFilePointer(file, 5, nullptr, FILE_CURRENT), DWORD{0x80000002});
    if (SetEndOfFile(file)) { // where the file system has room for such a size
        EXPECT_EQ(status_of(path).st_size, 0x180000002);
        EXPECT_EQ(GetFileSize(file, nullptr), DWORD{0x80000002});
        EXPECT_EQ(SetFilePointer(file, 0, nullptr, FILE_CURRENT), DWORD{0x80000002});
        BY_HANDLE_FILE_INFORMATION information = {};
        EXPECT_TRUE(GetFileInformationByHandle(file, &information));
        EXPECT_EQ(information.nFileSizeLow, DWORD{0x80000002});
        EXPECT_EQ(information.nFileSizeHigh, DWORD{0});
    }
    CloseHandle(file);
}

TEST(File, EndsWhereItsPositionIs) {
    const Scratch scratch;
    const std::string path = scratch.file("f", "0123456789");
    HANDLE file = scratch.open_file(L"f", GENERIC_READ | GENERIC_WRITE);
    for (const LONG size : {3, 20, 0}) {
        SetFilePointer(file, size, nullptr, FILE_BEGIN);
        EXPECT_TRUE(SetEndOfFile(file));
        EXPECT_EQ(status_of(path).st_size, size);
    }
    EXPECT_TRUE(FlushFileBuffers(file));
    EXPECT_EQ(MapViewOfFile(file, 0, 0, 0, 0), nullptr); // a file has no memory
    CloseHandle(file);
    HANDLE reader = scratch.open_file(L"f");
    EXPECT_FALSE(SetEndOfFile(reader));
    CloseHandle(reader);
}

TEST(File, ItsSizeIsToldWithoutMovingAndMakesTheLastErrorZero) {
    const Scratch scratch;
    scratch.file("f", "0123456789");
    HANDLE file = scratch.open_file(L"f");
    SetFilePointer(file, 4, nullptr, FILE_BEGIN);
    DWORD high = 77;
    SetLastError(99);
    EXPECT_EQ(GetFileSize(file, &high), DWORD{10});
    EXPECT_EQ(high, DWORD{0});
    EXPECT_EQ(GetLastError(), DWORD{0});
    EXPECT_EQ(SetFilePointer(file, 0, nullptr, FILE_CURRENT), DWORD{4});
    CloseHandle(file);
}

void set_times(const std::string& path, long access, long modification) {
    const timeval times[2] = {{access, 0}, {modification, 0}};
    ASSERT_EQ(utimes(path.c_str(), times), 0);
}

TEST(File, TimesAreTheFilesAndInInformationAHundredthOfTheSecondsLater) {
    const Scratch scratch;
    const std::string path = scratch.file("f", "0123456789", 0444);
    ASSERT_EQ(link(path.c_str(), scratch.path("g").c_str()), 0);
    set_times(path, 1000000099, 1700000000);
    HANDLE file = scratch.open_file(L"f");
    BY_HANDLE_FILE_INFORMATION information;
    memset(&information, 0x5A, sizeof information);
    FILETIME creation = {}, access = {}, write = {};
    EXPECT_TRUE(GetFileTime(file, &creation, &access, &write));
    EXPECT_EQ(ticks(creation), ticks(status_of(path).st_ctime));
    EXPECT_EQ(ticks(access), ticks(1000000099));
    EXPECT_EQ(ticks(write), ticks(1700000000));
    EXPECT_TRUE(GetFileTime(file, nullptr, nullptr, nullptr));
    ASSERT_TRUE(GetFileInformationByHandle(file, &information));
    EXPECT_EQ(information.dwFileAttributes, DWORD{0x80000001});
    EXPECT_EQ(ticks(information.ftCreationTime), ticks(1700000000) + 17000000);
    EXPECT_EQ(ticks(information.ftLastAccessTime), ticks(1000000099) + 10000000);
    EXPECT_EQ(ticks(information.ftLastWriteTime), ticks(information.ftCreationTime));
    EXPECT_EQ(information.dwVolumeSerialNumber, DWORD{0});
    EXPECT_EQ(information.nFileSizeHigh, DWORD{0});
    EXPECT_EQ(information.nFileSizeLow, DWORD{10});
    EXPECT_EQ(information.nNumberOfLinks, DWORD{2});
    EXPECT_EQ(information.nFileIndexHigh, DWORD{0});
    EXPECT_EQ(information.nFileIndexLow, static_cast<DWORD>(status_of(path).st_ino));
    // Before 1970 the seconds are unsigned, their hundredth is not.
    set_times(path, -1000, -1000);
    if (status_of(path).st_mtime == -1000) {
        ASSERT_TRUE(GetFileInformationByHandle(file, &information));
        EXPECT_EQ(ticks(information.ftLastWriteTime), ticks((std::int64_t{1} << 32) - 1000) - 10);
    }
    CloseHandle(file);
}

TEST(File, InformationOfAHandleWithoutAFileIsZerosAndTrue) {
    HANDLE mapping = CreateFileMapping(nullptr, nullptr, 0, 0, 16, L"no file behind it");
    BY_HANDLE_FILE_INFORMATION information;
    memset(&information, 0x5A, sizeof information);
    EXPECT_TRUE(GetFileInformationByHandle(mapping, &information));
    EXPECT_EQ(information.dwFileAttributes, DWORD{0x80000001});
    EXPECT_EQ(ticks(information.ftLastWriteTime), ticks(0));
    EXPECT_EQ(information.nNumberOfLinks, DWORD{0});
    EXPECT_EQ(SetFilePointer(mapping, 0, nullptr, FILE_END), ~DWORD{0});
    EXPECT_FALSE(FlushFileBuffers(mapping));
    CloseHandle(mapping);
}

// Where everything is writable (a superuser), the rest of the process becomes somebody else, and the file
// with it.
void become_ordinary(const std::string& path) {
    constexpr uid_t kNobody = 65534;
    if (geteuid() != 0)
        return;
    if (lchown(path.c_str(), kNobody, kNobody) != 0 || setresgid(kNobody, kNobody, kNobody) != 0 ||
        setresuid(kNobody, kNobody, kNobody) != 0)
        _exit(77);
}

TEST(File, TimesAreSetOnlyWhereTheFileMayNotBeWritten) {
    const Scratch scratch;
    const FILETIME creation = {1, 1}, access = {3, 0x01D00000}, write = {9, 0x01D50000};
    const FILETIME beyond_2038 = {0, 0x02500000};
    const struct {
        mode_t mode;
        const FILETIME *access, *write;
        BOOL expected;
    } cases[] = {
        {0644, &access, &write, FALSE}, {0444, &access, &write, TRUE},  {0444, nullptr, &write, TRUE},
        {0444, &access, nullptr, TRUE}, {0444, nullptr, nullptr, TRUE}, {0444, &access, &beyond_2038, FALSE},
    };
    for (const auto& c : cases) {
        const std::string path = scratch.file("f", "", c.mode);
        set_times(path, 1000000000, 1600000000);
        EXPECT_EXIT(
            {
                become_ordinary(path);
                HANDLE file = scratch.open_file(L"f");
                _exit(SetFileTime(file, &creation, c.access, c.write) == c.expected ? 0 : 1);
            },
            testing::ExitedWithCode(0), "");
        const auto seconds = [&](const FILETIME* given, std::int64_t old) {
            return c.expected && given != nullptr
                       ? static_cast<std::int64_t>(ticks(*given) / 10000000) - 11644473600
                       : old;
        };
        EXPECT_EQ(status_of(path).st_atime, seconds(c.access, 1000000000));
        EXPECT_EQ(status_of(path).st_mtime, seconds(c.write, 1600000000));
        unlink(path.c_str());
    }
}

TEST(File, TimesCompareAsUnsignedHalves) {
    const FILETIME times[] = {{0, 0}, {1, 0}, {0xFFFFFFFF, 0}, {0, 1}, {5, 0x7FFFFFFF}, {5, 0x80000000}};
    for (std::size_t a = 0; a < ARRAYSIZE(times); ++a)
        for (std::size_t b = 0; b < ARRAYSIZE(times); ++b)
            EXPECT_EQ(CompareFileTime(&times[a], &times[b]), a < b ? -1 : a > b ? 1 : 0) << a << ' ' << b;
}

TEST(File, OtherHandlesAreRefusedByTheirHeadAlone) {
    // A record of another type that is as long as its head: whoever reads on is seen by the sanitizer.
    auto* event_head = static_cast<DWORD*>(calloc(2, sizeof(DWORD)));
    event_head[0] = HT_EVENT;
    for (HANDLE handle : {HANDLE{}, INVALID_HANDLE_VALUE, static_cast<HANDLE>(event_head)}) {
        FILETIME time = {};
        BY_HANDLE_FILE_INFORMATION information = {};
        WIN32_FIND_DATA found = {};
        DWORD high = 77;
        SetLastError(99);
        EXPECT_EQ(SetFilePointer(handle, 1, nullptr, FILE_CURRENT), DWORD{0});
        EXPECT_FALSE(SetEndOfFile(handle));
        EXPECT_FALSE(FlushFileBuffers(handle));
        EXPECT_EQ(GetFileSize(handle, &high), DWORD{0});
        EXPECT_FALSE(GetFileTime(handle, &time, &time, &time));
        EXPECT_FALSE(SetFileTime(handle, &time, &time, &time));
        EXPECT_FALSE(GetFileInformationByHandle(handle, &information));
        EXPECT_FALSE(FindNextFile(handle, &found));
        EXPECT_FALSE(FindNextChangeNotification(handle));
        EXPECT_EQ(MapViewOfFile(handle, 0, 0, 0, 0), nullptr);
        EXPECT_EQ(GetProcAddressA(handle, "main"), nullptr);
        EXPECT_EQ(GetProcAddress(handle, L"main"), nullptr);
        EXPECT_FALSE(FreeLibrary(handle));
        EXPECT_EQ(GetLastError(), DWORD{99});
    }
    free(event_head);
}

} // namespace
