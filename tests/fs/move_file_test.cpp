// MoveFileEx, with the host's calls interposed.
#include <gtest/gtest.h>
#include <kalto/core.h>
#include <kalto/fs.h>
#include <kalto/host.h>
#include <string>

namespace {
std::string calls;
BOOL result = TRUE;
} // namespace

extern "C" {
KALTO_API BOOL PTR_CopyFile(LPCWSTR, LPCWSTR, BOOL fail_if_exists) {
    calls += "copy" + std::to_string(fail_if_exists) + ' ';
    return result;
}
KALTO_API BOOL PTR_MoveFile(LPCWSTR, LPCWSTR) {
    calls += "move ";
    return result;
}
KALTO_API BOOL PTR_DeleteFile(LPCWSTR path) {
    calls += "delete:" + std::string(path, path + wcslen(path));
    return FALSE;
}
}

namespace {

TEST(MoveFileEx, ChoosesTheHostsCallsByItsFlags) {
    const struct {
        DWORD flags;
        BOOL host;
        const char* calls;
        BOOL expected;
        DWORD error;
    } cases[] = {
        {0, TRUE, "move ", TRUE, 99},
        {0, FALSE, "move ", FALSE, 99},
        {1, 5, "move ", 5, 99}, // the host's result, as it is
        {8, TRUE, "move ", TRUE, 99},
        {2, TRUE, "copy0 delete:/a/b", TRUE, 99},
        {2, FALSE, "copy0 ", FALSE, 99},
        {2, 5, "copy0 ", 5, 99},                  // deletes after 1 alone
        {3, TRUE, "copy1 delete:/a/b", TRUE, 99}, // replacing means failing
        {10, TRUE, "copy0 delete:/a/b", TRUE, 99},
        {4, TRUE, "", FALSE, 19},
        {0x10, TRUE, "", FALSE, 19},
        {0x1F, TRUE, "", FALSE, 19},
    };
    for (const auto& c : cases) {
        calls.clear();
        result = c.host;
        SetLastError(99);
        EXPECT_EQ(MoveFileEx(L"\\a\\b", L"\\c", c.flags), c.expected) << c.flags;
        EXPECT_EQ(calls, c.calls) << c.flags;
        EXPECT_EQ(GetLastError(), c.error) << c.flags;
    }
}

} // namespace
