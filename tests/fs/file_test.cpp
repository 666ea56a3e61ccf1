// Open files: positions, sizes, times and information; and what every call refuses.
#include "tests/fs/times.h"
#include "tests/scratch.h"

#include <kalto/core.h>
#include <kalto/kernel.h>

TEST(File, PositionsAreThoseOfTheSystemAndSizesAreToldWithoutMoving) {
    const Scratch scratch;
    scratch.put("f", "0123456789");
    HANDLE file = scratch.open("f");
    const struct {
        LONG distance;
        DWORD method, expected;
    } cases[] = {
        {4, FILE_BEGIN, 4}, {3, FILE_CURRENT, 7},        {-2, FILE_CURRENT, 5},     {-1, FILE_END, 9},
        {5, FILE_END, 15},  {-1, FILE_BEGIN, ~DWORD{0}}, {0, FILE_CURRENT, 15},     // as it was
        {0, 3, ~DWORD{0}},  {0, 4, ~DWORD{0}},           {0, ~DWORD{0}, ~DWORD{0}}, // no methods of ours
    };
    LONG high_distance = 77;
    for (const auto& c : cases)
        EXPECT_EQ(SetFilePointer(file, c.distance, &high_distance, c.method), c.expected)
            << c.distance << ' ' << c.method;
    EXPECT_EQ(high_distance, 77);
    DWORD high = 77;
    SetLastError(99);
    EXPECT_EQ(GetFileSize(file, &high), DWORD{10});
    EXPECT_EQ(high, DWORD{0});
    EXPECT_EQ(GetLastError(), DWORD{0}) << "the size makes the last error zero";
    EXPECT_EQ(SetFilePointer(file, 0, nullptr, FILE_CURRENT), DWORD{15});
    CloseHandle(file);
}

TEST(File, PositionsBeyond4GigabytesWorkAndShowTheirLowerHalf) {
    const Scratch scratch;
    scratch.put("f");
    HANDLE file = scratch.open("f", GENERIC_WRITE);
    for (int i = 0; i < 3; ++i)
        SetFilePointer(file, 0x7FFFFFFF, nullptr, FILE_CURRENT);
    EXPECT_EQ(SetFilePointer(file, 5, nullptr, FILE_CURRENT), DWORD{0x80000002});
    if (SetEndOfFile(file)) { // where the file system has room for such a size
        EXPECT_EQ(scratch.status("f").st_size, 0x180000002);
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
    scratch.put("f", "0123456789");
    HANDLE file = scratch.open("f", GENERIC_READ | GENERIC_WRITE);
    for (const LONG size : {3, 20, 0}) {
        SetFilePointer(file, size, nullptr, FILE_BEGIN);
        EXPECT_TRUE(SetEndOfFile(file));
        EXPECT_EQ(scratch.status("f").st_size, size);
    }
    EXPECT_TRUE(FlushFileBuffers(file));
    EXPECT_EQ(MapViewOfFile(file, 0, 0, 0, 0), nullptr); // a file has no memory
    CloseHandle(file);
    HANDLE reader = scratch.open("f");
    EXPECT_FALSE(SetEndOfFile(reader));
    CloseHandle(reader);
}

TEST(File, TimesAreTheFilesAndInInformationAHundredthOfTheSecondsLater) {
    const Scratch scratch;
    const std::string path = scratch.put("f", "0123456789", 0444);
    ASSERT_EQ(link(path.c_str(), scratch.path("g").c_str()), 0);
    set_times(path, 1000000099, 1700000000);
    HANDLE file = scratch.open("f");
    FILETIME creation = {}, access = {}, write = {};
    EXPECT_TRUE(GetFileTime(file, &creation, &access, &write));
    EXPECT_EQ(ticks(creation), ticks(scratch.status("f").st_ctime));
    EXPECT_EQ(ticks(access), ticks(1000000099));
    EXPECT_EQ(ticks(write), ticks(1700000000));
    EXPECT_TRUE(GetFileTime(file, nullptr, nullptr, nullptr));
    BY_HANDLE_FILE_INFORMATION information;
    memset(&information, 0x5A, sizeof information);
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
    EXPECT_EQ(information.nFileIndexLow, static_cast<DWORD>(scratch.status("f").st_ino));
    // Before 1970 the seconds are unsigned, their hundredth is not.
    set_times(path, -1000, -1000);
    if (scratch.status("f").st_mtime == -1000) {
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
static void become_ordinary(const std::string& path) {
    constexpr uid_t kNobody = 65534;
    if (geteuid() != 0)
        return;
    if (lchown(path.c_str(), kNobody, kNobody) != 0 || setresgid(kNobody, kNobody, kNobody) != 0 ||
        setresuid(kNobody, kNobody, kNobody) != 0)
        _exit(77);
}

TEST(File, TimesAreSetOnlyWhereTheFileMayNotBeWritten) {
    const Scratch scratch;
    const std::int64_t old_access = 1000000000, old_write = 1600000000;
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
        const std::string path = scratch.put("f", "", c.mode);
        set_times(path, old_access, old_write);
        EXPECT_EXIT(
            {
                become_ordinary(path);
                HANDLE file = scratch.open("f");
                _exit(SetFileTime(file, &creation, c.access, c.write) == c.expected ? 0 : 1);
            },
            testing::ExitedWithCode(0), "");
        const bool sets_access = c.expected && c.access != nullptr,
                   sets_write = c.expected && c.write != nullptr;
        const auto status = scratch.status("f");
        EXPECT_EQ(ticks(status.st_atime),
                  sets_access ? ticks(access) / 10000000 * 10000000 : ticks(old_access));
        EXPECT_EQ(ticks(status.st_mtime), sets_write ? ticks(write) / 10000000 * 10000000 : ticks(old_write));
        unlink(path.c_str());
    }
}

TEST(File, TimesCompareAsUnsignedHalves) {
    const FILETIME times[] = {{0, 0}, {1, 0}, {0xFFFFFFFF, 0}, {0, 1}, {5, 0x7FFFFFFF}, {5, 0x80000000}};
    for (const FILETIME& a : times)
        for (const FILETIME& b : times)
            EXPECT_EQ(CompareFileTime(&a, &b), &a < &b ? -1 : &a > &b ? 1 : 0) << ticks(a) << ' ' << ticks(b);
}

TEST(File, OtherHandlesAreRefusedByTheirHeadAlone) {
    // A record of another type that is as long as its head: whoever reads on is seen by the sanitizer.
    DWORD event_head[2] = {HT_EVENT};
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
}
