// Open files: positions, sizes, times and information; and what every call refuses.
#include "tests/fs/times.h"
#include "tests/scratch.h"

#include <kalto/core.h>
#include <kalto/kernel.h>

namespace {
std::string asked_for; // by the last call below
bool writable = false;
} // namespace

// So that a test may be privileged or not.
extern "C" KALTO_API int access(const char* path, int mode) noexcept {
    asked_for = path + std::string(mode == W_OK ? " to write" : " otherwise");
    return writable ? 0 : -1;
}

TEST(File, HasTheSystemsPositionAndASizeThatIsToldWithoutMoving) {
    const Scratch scratch;
    scratch.put("f", "0123456789");
    HANDLE file = scratch.open("f", GENERIC_READ | GENERIC_WRITE);
    const struct {
        LONG distance;
        DWORD method, expected;
    } cases[] = {
        {4, FILE_BEGIN, 4}, {3, FILE_CURRENT, 7},        {-2, FILE_CURRENT, 5}, {-1, FILE_END, 9},
        {5, FILE_END, 15},  {-1, FILE_BEGIN, ~DWORD{0}}, {0, FILE_CURRENT, 15}, // as it was
        {0, 3, ~DWORD{0}},                                                      // no method of ours
    };
    for (const auto& c : cases) {
        LONG high_distance = 77; // neither used nor stored
        EXPECT_EQ(SetFilePointer(file, c.distance, &high_distance, c.method), c.expected) << c.distance;
        EXPECT_EQ(high_distance, 77);
    }
    DWORD high = 77;
    SetLastError(99);
    EXPECT_EQ(GetFileSize(file, &high) + high, DWORD{10});
    EXPECT_EQ(GetLastError(), DWORD{0}) << "the size makes the last error zero";
    EXPECT_TRUE(SetEndOfFile(file)); // at 15
    EXPECT_TRUE(FlushFileBuffers(file));
    EXPECT_EQ(scratch.status("f").st_size, 15);
    EXPECT_EQ(MapViewOfFile(file, 0, 0, 0, 0), nullptr) << "a file has no memory";
    // Beyond 4 GB the lower half shows, where the file system has room for such a size.
    for (int i = 0; i < 3; ++i)
        SetFilePointer(file, 0x7FFFFFFF, nullptr, FILE_CURRENT);
    if (truncate64(scratch.path("f").c_str(), 0x180000000) == 0) {
        EXPECT_TRUE(SetEndOfFile(file));
        EXPECT_EQ(scratch.status("f").st_size, 0x18000000C);
        EXPECT_EQ(GetFileSize(file, nullptr), DWORD{0x8000000C});
        BY_HANDLE_FILE_INFORMATION information = {};
        EXPECT_TRUE(GetFileInformationByHandle(file, &information));
        EXPECT_EQ(information.nFileSizeHigh, DWORD{0});
    }
    CloseHandle(file);
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
    BY_HANDLE_FILE_INFORMATION information;
    const FILETIME later = file_time(ticks(1700000000) + 17000000);
    const FILETIME access_later = file_time(ticks(1000000099) + 10000000);
    const auto inode = static_cast<DWORD>(scratch.status("f").st_ino);
    const BY_HANDLE_FILE_INFORMATION expected = {0x80000001, later, access_later, later, 0, 0, 10,
                                                 2,          0,     inode};
    ASSERT_TRUE(GetFileInformationByHandle(file, &information));
    EXPECT_EQ(memcmp(&information, &expected, sizeof expected), 0);
    // Before 1970 the seconds are unsigned, their hundredth is not.
    set_times(path, -1000, -1000);
    if (scratch.status("f").st_mtime == -1000) {
        ASSERT_TRUE(GetFileInformationByHandle(file, &information));
        EXPECT_EQ(ticks(information.ftLastWriteTime), ticks((std::int64_t{1} << 32) - 1000) - 10);
    }
    CloseHandle(file);
    // Of a handle without a file it is zeros, and TRUE.
    HANDLE mapping = CreateFileMapping(nullptr, nullptr, 0, 0, 16, L"no file behind it");
    EXPECT_TRUE(GetFileInformationByHandle(mapping, &information));
    EXPECT_EQ(ticks(information.ftLastWriteTime), ticks(0));
    CloseHandle(mapping);
}

TEST(File, TimesAreSetOnlyWhereTheFileMayNotBeWritten) {
    const Scratch scratch;
    const std::int64_t old = 1000000000;
    const FILETIME creation = {1, 1}, access = {3, 0x01D00000}, write = {9, 0x01D50000};
    const FILETIME beyond_2038 = {0, 0x02500000};
    const struct {
        bool writable;
        const FILETIME *access, *write;
        BOOL expected;
    } cases[] = {
        {true, &access, &write, FALSE},
        {false, nullptr, &write, TRUE},
        {false, &access, nullptr, TRUE},
        {false, &access, &beyond_2038, FALSE},
    };
    const std::string path = scratch.put("f");
    HANDLE file = scratch.open("f");
    for (const auto& c : cases) {
        set_times(path, old, old);
        writable = c.writable;
        EXPECT_EQ(SetFileTime(file, &creation, c.access, c.write), c.expected);
        EXPECT_EQ(asked_for, path + " to write");
        const auto expected = [&](const FILETIME* given) {
            return c.expected && given != nullptr ? ticks(*given) / 10000000 * 10000000 : ticks(old);
        };
        EXPECT_EQ(ticks(scratch.status("f").st_atime), expected(c.access));
        EXPECT_EQ(ticks(scratch.status("f").st_mtime), expected(c.write));
    }
    CloseHandle(file);
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
        EXPECT_EQ(GetFileSize(handle, &high), DWORD{0});
        EXPECT_FALSE(SetEndOfFile(handle) || FlushFileBuffers(handle));
        EXPECT_FALSE(GetFileTime(handle, &time, &time, &time) || SetFileTime(handle, &time, &time, &time));
        EXPECT_FALSE(GetFileInformationByHandle(handle, &information));
        EXPECT_FALSE(FindNextFile(handle, &found) || FindNextChangeNotification(handle));
        EXPECT_EQ(MapViewOfFile(handle, 0, 0, 0, 0), nullptr);
        EXPECT_EQ(GetProcAddressA(handle, "main"), nullptr);
        EXPECT_FALSE(FreeLibrary(handle));
        EXPECT_EQ(GetLastError(), DWORD{99});
    }
}
