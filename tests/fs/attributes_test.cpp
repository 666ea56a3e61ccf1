// Attributes by path, and free space.
#include "tests/scratch.h"

#include <clocale>
#include <kalto/core.h>
#include <kalto/errors.h>
#include <sys/vfs.h>

namespace {
std::string given_away; // path and owners
std::string asked_for;
} // namespace

// A file system of sizes that no machine has.
extern "C" KALTO_API int statfs64(const char* path, struct statfs64* space) noexcept {
    asked_for = path;
    *space = {};
    space->f_bsize = 4096;
    space->f_blocks = 0x300000001;
    space->f_bfree = 0x200000002;
    space->f_bavail = 0x100000003;
    return *path == '\0' ? -1 : 0;
}

// Interposed, and always refused: being privileged or not makes no difference.
extern "C" KALTO_API int chown(const char* path, uid_t owner, gid_t group) noexcept {
    given_away = path + (' ' + std::to_string(owner)) + ' ' + std::to_string(group);
    errno = EPERM;
    return -1;
}

namespace {

TEST(Attributes, FollowModeAndName) {
    const Scratch scratch;
    scratch.put("plain");
    scratch.put("read_only", "", 0444);
    scratch.put("others_write", "", 0002);
    scratch.put(".hidden_read_only", "", 0);
    scratch.make_directory("directory");
    scratch.make_directory(".secret", 0555);
    ASSERT_EQ(mkfifo(scratch.path("pipe").c_str(), 0600), 0);
    ASSERT_EQ(symlink("directory", scratch.path("link").c_str()), 0);
    const struct {
        const wchar_t* name;
        DWORD expected;
        DWORD error = 0;
    } cases[] = {
        {L"plain", 0x80000000},
        {L"read_only", 0x80000001},
        {L"others_write", 0x80000000},
        {L"link", 2},
        {L".secret\\/\\", 0x80000003},
        {L".hidden_read_only", 0x80000001},
        {L"directory/..\\plain", 0x80000000},
        {L"pipe", INVALID_FILE_ATTRIBUTES, ERROR_NOT_SUPPORTED},
        {L"nothing", INVALID_FILE_ATTRIBUTES, ERROR_FILE_NOT_FOUND},
        {L"\x20AC", INVALID_FILE_ATTRIBUTES, ERROR_INVALID_NAME}, // not in the C locale
    };
    for (const auto& c : cases) {
        SetLastError(0);
        EXPECT_EQ(GetFileAttributes(scratch.wide(c.name).c_str()), c.expected) << c.name;
        EXPECT_EQ(GetLastError(), c.error) << c.name;
    }
    EXPECT_EQ(GetFileAttributes(nullptr), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(GetFileAttributes(L""), INVALID_FILE_ATTRIBUTES);
}

TEST(Attributes, LongPathsAndForeignNamesArriveWhole) {
    ASSERT_NE(setlocale(LC_ALL, "C.UTF-8"), nullptr);
    const Scratch scratch;
    std::string path;
    std::wstring wide;
    for (int depth = 0; depth < 5; ++depth) { // twice as long as MAX_PATH
        path += (path.empty() ? "" : "/") + std::string(100, 'd') + "\xE2\x82\xAC";
        wide += (wide.empty() ? L"" : L"\\") + std::wstring(100, L'd') + L"\x20AC";
        scratch.make_directory(path);
    }
    EXPECT_EQ(GetFileAttributes(scratch.wide(wide).c_str()), DWORD{2});
    WIN32_FIND_DATA found = {};
    HANDLE search = FindFirstFile((scratch.wide(wide) + L"\\..\\d*").c_str(), &found);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    EXPECT_EQ(found.cFileName, std::wstring(100, L'd') + L"\x20AC");
    FindClose(search);
    setlocale(LC_ALL, "C");
}

TEST(Attributes, HiddenNames) {
    const struct {
        const wchar_t* path;
        BOOL hidden;
    } cases[] = {
        {L"", FALSE},     {L"/", FALSE},     {L"\\\\//", FALSE}, {L".", FALSE},     {L"..", FALSE},
        {L"...", TRUE},   {L".a", TRUE},     {L"a", FALSE},      {L"a.b", FALSE},   {L"/x/.a/\\", TRUE},
        {L".a/b", FALSE}, {L"a\\.b", TRUE},  {L"a/..", FALSE},   {L"a\\./", FALSE}, {L"..a", TRUE},
        {L"/.a", TRUE},   {L"\\.\\", FALSE},
    };
    for (const auto& c : cases)
        EXPECT_EQ(DIR_is_hidden_file(c.path), c.hidden) << c.path;
    EXPECT_FALSE(DIR_is_hidden_file(nullptr));
}

TEST(Attributes, AnyValueButZeroTakesTheOwnersWriteBit) {
    const Scratch scratch;
    const struct {
        mode_t before;
        DWORD attributes;
        mode_t after;
    } cases[] = {
        {0644, FILE_ATTRIBUTE_READONLY, 0544},
        {0000, FILE_ATTRIBUTE_NORMAL, 0500},
        {0777, 0x20, 0577},
        {0666, 0, 0766},
        {0444, 0, 0744},
        {02755, 1, 0555}, // the set-user bits go
    };
    for (const auto& c : cases) {
        const std::string path = scratch.put("f", "", c.before);
        EXPECT_TRUE(SetFileAttributes(scratch.wide(L"f").c_str(), c.attributes));
        EXPECT_EQ(scratch.status("f").st_mode & 07777, c.after) << std::oct << c.before;
        EXPECT_EQ(given_away, path + " 500 500");
        unlink(path.c_str());
    }
    EXPECT_FALSE(SetFileAttributes(scratch.wide(L"f").c_str(), 0));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_FALSE(SetFileAttributes(nullptr, 0));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}

TEST(FreeSpace, IsToldIn64BitsAndOfTheStoreIn32) {
    ULARGE_INTEGER available = {}, total = {}, free_bytes = {};
    ASSERT_TRUE(GetDiskFreeSpaceEx(L"\\some\\place", &available, &total, &free_bytes));
    EXPECT_EQ(asked_for, "/some/place");
    EXPECT_EQ(total.QuadPart, 4096 * 0x300000001u);
    EXPECT_EQ(free_bytes.QuadPart, 4096 * 0x200000002u);
    EXPECT_EQ(available.QuadPart, 4096 * 0x100000003u);
    EXPECT_TRUE(GetDiskFreeSpaceEx(nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(asked_for, "/var/zel");
    asked_for.clear();
    STORE_INFORMATION store = {};
    ASSERT_TRUE(GetStoreInformation(&store));
    EXPECT_EQ(asked_for, "/var/zel");
    EXPECT_EQ(store.dwStoreSize, DWORD{4096});
    EXPECT_EQ(store.dwFreeSize, DWORD{3 * 4096});
    EXPECT_FALSE(GetDiskFreeSpaceEx(L"", &available, &total, &free_bytes));
    EXPECT_FALSE(GetStoreInformation(nullptr));
}

} // namespace
