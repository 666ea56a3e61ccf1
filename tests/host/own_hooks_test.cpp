// An application that exports hooks of its own: they are called instead of the reference host's, with the
// arguments of the call as they are.
#include <gtest/gtest.h>
#include <kalto/core.h>
#include <kalto/fs.h>
#include <kalto/host.h>
#include <string>
#include <vector>

namespace {

using Words = std::vector<uintptr_t>;
Words seen;
std::wstring seen_path;
std::string called;
DWORD last_error = 4711;
BOOL result = 78;
const BOOL kDeleted = 80;
const HANDLE kHandle = reinterpret_cast<HANDLE>(77);
FILE* const kStream = reinterpret_cast<FILE*>(79);

template <typename... Arguments> Words words(Arguments... arguments) {
    return {uintptr_t(arguments)...};
}

} // namespace

#define HOOK(answer, type, name, parameters, ...)                                                            \
    type PTR_##name parameters {                                                                             \
        called += #name;                                                                                     \
        seen = words(__VA_ARGS__);                                                                           \
        return answer;                                                                                       \
    }

DWORD PTR_GetLastError(void) {
    return last_error;
}
void PTR_SetLastError(DWORD error) {
    last_error = error;
}
HOOK(kHandle, HANDLE, CreateFile,
     (LPCWSTR a, DWORD b, DWORD c, LPSECURITY_ATTRIBUTES d, DWORD e, DWORD f, HANDLE g), a, b, c, d, e, f, g)
HOOK(result, BOOL, CopyFile, (LPCWSTR a, LPCWSTR b, BOOL c), a, b, c)
HOOK(result, BOOL, MoveFile, (LPCWSTR a, LPCWSTR b), a, b)
HOOK(result, BOOL, CreateDirectory, (LPCWSTR a, LPSECURITY_ATTRIBUTES b), a, b)
HOOK(kDeleted, BOOL, DeleteFile, (LPCWSTR a), (seen_path = a != nullptr ? a : L"(null)").size())
HOOK(kStream, FILE*, KaltoFopen, (const char* a, const char* b), (seen_path.assign(a, a + strlen(a)), a), b)

TEST(OwnHooks, GetTheArgumentsAsTheyAre) {
    const wchar_t *path = L"a\\b", *other = L"c\\d";
    SECURITY_ATTRIBUTES security = {};
    EXPECT_EQ(GetLastError(), DWORD{4711});
    EXPECT_EQ(CreateFile(path, 1, 2, &security, 3, 4, kHandle), kHandle);
    EXPECT_EQ(seen, words(path, 1, 2, &security, 3, 4, kHandle));
    EXPECT_EQ(CopyFile(path, other, 7), result);
    EXPECT_EQ(seen, words(path, other, 7));
    EXPECT_EQ(CreateDirectory(path, &security), result);
    EXPECT_EQ(seen, words(path, &security));
    const char* narrow = "a\\b";
    EXPECT_EQ(KaltoFopen(narrow, "r+"), kStream);
    EXPECT_EQ(seen[0], words(narrow)[0]);
    EXPECT_EQ(_wfopen((L"x\\" + std::wstring(1000, L'y')).c_str(), L"r+"), kStream);
    EXPECT_EQ(seen_path, L"x\\" + std::wstring(1000, L'y'));
}

TEST(OwnHooks, DeletingPassesACopyWithSlashes) {
    const std::wstring path = L"\\a\\b/c";
    EXPECT_EQ(DeleteFile(path.c_str()), kDeleted);
    EXPECT_EQ(seen_path + path, L"/a/b/c\\a\\b/c");
    EXPECT_EQ(DeleteFile(nullptr), kDeleted);
    EXPECT_EQ(seen_path, L"(null)");
}

TEST(OwnHooks, MoveFileExChoosesByItsFlags) {
    const struct {
        DWORD flags;
        BOOL host; // what moving and copying answer, and what is passed on as it is
        const char* calls;
    } cases[] = {
        {0, FALSE, "MoveFile"}, {9, 5, "MoveFile"}, {2, TRUE, "CopyFileDeleteFile"},
        {2, 5, "CopyFile"}, // deletes after 1 alone
        {3, FALSE, "CopyFile"}, {4, TRUE, ""},      {0x10, TRUE, ""},
    };
    for (const auto& c : cases) {
        called.clear();
        result = c.host;
        last_error = 99;
        EXPECT_EQ(MoveFileEx(L"\\a", L"\\c", c.flags), *c.calls != '\0' ? c.host : FALSE) << c.flags;
        EXPECT_EQ(last_error, *c.calls != '\0' ? 99u : 19u) << c.flags;
        EXPECT_EQ(called, c.calls) << c.flags;
        EXPECT_TRUE(called != "CopyFile" || seen[2] == (c.flags & 1)) << "replacing means failing";
        EXPECT_TRUE(called != "CopyFileDeleteFile" || seen_path == L"/a");
    }
}
