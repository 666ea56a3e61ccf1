// Attributes by path, and free space.
#include "tests/scratch.h"

#include <kalto/core.h>
#include <kalto/errors.h>
#include <sys/vfs.h>

namespace {
std::string asked_for; // by the last call below
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

// Always refused: being privileged or not makes no difference.
extern "C" KALTO_API int chown(const char* path, uid_t owner, gid_t group) noexcept {
    asked_for = path + (' ' + std::to_string(owner)) + ' ' + std::to_string(group);
    errno = EPERM;
    return -1;
}

TEST(Attributes, FollowModeAndName) {
    const Scratch scratch;
    const struct {
        const wchar_t* name;
        mode_t mode; // 0: not made
        DWORD expected;
        DWORD error = 0;
    } cases[] = {
        {L"plain", S_IFREG | 0002, 0x80000000},
        {L"read_only", S_IFREG | 0444, 0x80000001},
        {L".hidden", S_IFREG | 0444, 0x80000001},
        {L"pipe", S_IFIFO | 0600, INVALID_FILE_ATTRIBUTES, ERROR_NOT_SUPPORTED},
        {L"socket", S_IFSOCK | 0600, 2}, // by a bit of its mode
        {L".secret", S_IFDIR | 0555, 0x80000003},
        {L".secret\\/\\", 0, 0x80000003},
        {L"nothing", 0, INVALID_FILE_ATTRIBUTES, ERROR_FILE_NOT_FOUND},
        {L"\x20AC", 0, INVALID_FILE_ATTRIBUTES, ERROR_INVALID_NAME}, // not in the C locale
    };
    for (const auto& c : cases) {
        const std::string path = scratch.path({c.name, c.name + wcslen(c.name)});
        if (S_ISDIR(c.mode))
            mkdir(path.c_str(), 0700);
        else if (c.mode != 0)
            mknod(path.c_str(), c.mode, 0);
        if (c.mode != 0)
            chmod(path.c_str(), c.mode & 0777);
        SetLastError(0);
        EXPECT_EQ(GetFileAttributes(scratch.wide(c.name).c_str()), c.expected) << c.name;
        EXPECT_EQ(GetLastError(), c.error) << c.name;
    }
    EXPECT_EQ(GetFileAttributes(nullptr), INVALID_FILE_ATTRIBUTES);
}

TEST(Attributes, HiddenNames) {
    for (const wchar_t* hidden : {L"...", L".a", L"/x/.a/\\", L"a\\.b", L"..a"})
        EXPECT_TRUE(DIR_is_hidden_file(hidden)) << hidden;
    for (const wchar_t* shown : {L"", L"\\\\//", L".", L"a.b", L".a/b", L"a/..", L"a\\./"})
        EXPECT_FALSE(DIR_is_hidden_file(shown)) << shown;
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
        {0066, 0, 0766},
        {02755, 1, 0555}, // the set-user bits go
    };
    const std::string path = scratch.put("f");
    for (const auto& c : cases) {
        chmod(path.c_str(), c.before);
        EXPECT_TRUE(SetFileAttributes(scratch.wide(L"f").c_str(), c.attributes));
        EXPECT_EQ(scratch.status("f").st_mode & 07777, c.after) << std::oct << c.before;
        EXPECT_EQ(asked_for, path + " 500 500");
    }
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
    STORE_INFORMATION store = {};
    ASSERT_TRUE(GetStoreInformation(&store));
    EXPECT_EQ(asked_for, "/var/zel");
    EXPECT_EQ(store.dwStoreSize, DWORD{4096});
    EXPECT_EQ(store.dwFreeSize, DWORD{3 * 4096});
    EXPECT_FALSE(GetDiskFreeSpaceEx(L"", &available, &total, &free_bytes));
    EXPECT_FALSE(GetStoreInformation(nullptr));
}
