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
BOOL fails_if_there = FALSE;
const BOOL kDeleted = 80;
const HANDLE kHandle = reinterpret_cast<HANDLE>(77);
FILE* const kStream = reinterpret_cast<FILE*>(79);

uintptr_t word(uintptr_t number) {
    return number;
}
uintptr_t word(const void* pointer) {
    return reinterpret_cast<uintptr_t>(pointer);
}
template <typename... Arguments> Words words(Arguments... arguments) {
    return {word(arguments)...};
}

void expect(BOOL returned, const char* hook, const Words& arguments) {
    EXPECT_EQ(returned, result) << hook;
    EXPECT_EQ(called, hook);
    EXPECT_EQ(seen, arguments) << hook;
    called.clear();
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
HOOK(result, BOOL, ReadFile, (HANDLE a, LPVOID b, DWORD c, LPDWORD d, LPOVERLAPPED e), a, b, c, d, e)
HOOK(result, BOOL, WriteFile, (HANDLE a, LPCVOID b, DWORD c, LPDWORD d, LPOVERLAPPED e), a, b, c, d, e)
HOOK(result, BOOL, CopyFile, (LPCWSTR a, LPCWSTR b, BOOL c), a, b, static_cast<DWORD>(fails_if_there = c))
HOOK(result, BOOL, MoveFile, (LPCWSTR a, LPCWSTR b), a, b)
HOOK(result, BOOL, CreateDirectory, (LPCWSTR a, LPSECURITY_ATTRIBUTES b), a, b)
HOOK(result, BOOL, RemoveDirectory, (LPCWSTR a), a)
HOOK(kDeleted, BOOL, DeleteFile, (LPCWSTR a), (seen_path = a != nullptr ? a : L"(null)").size())
HOOK(kStream, FILE*, KaltoFopen, (const char* a, const char* b), (seen_path.assign(a, a + strlen(a)), a), b)

TEST(OwnHooks, GetTheArgumentsAsTheyAre) {
    const wchar_t* path = L"a\\b";
    const wchar_t* other = L"c\\d";
    SECURITY_ATTRIBUTES security = {};
    OVERLAPPED overlapped = {};
    DWORD count = 0;
    char data = 0;
    EXPECT_EQ(GetLastError(), DWORD{4711});
    HANDLE file = CreateFile(path, 1, 2, &security, 3, 4, kHandle);
    expect(file == kHandle ? result : 0, "CreateFile", words(path, 1u, 2u, &security, 3u, 4u, kHandle));
    const Words transfer = words(kHandle, &data, 5u, &count, &overlapped);
    expect(ReadFile(kHandle, &data, 5, &count, &overlapped), "ReadFile", transfer);
    expect(WriteFile(kHandle, &data, 5, &count, &overlapped), "WriteFile", transfer);
    expect(CopyFile(path, other, 7), "CopyFile", words(path, other, 7u));
    expect(MoveFile(path, other), "MoveFile", words(path, other));
    expect(CreateDirectory(path, &security), "CreateDirectory", words(path, &security));
    expect(RemoveDirectory(path), "RemoveDirectory", words(path));
}

TEST(OwnHooks, DeletingPassesACopyWithSlashesAndStreamsKeepTheirBackslashes) {
    const std::wstring path = L"\\a\\b/c";
    EXPECT_EQ(DeleteFile(path.c_str()), kDeleted);
    EXPECT_EQ(seen_path, L"/a/b/c");
    EXPECT_EQ(path, L"\\a\\b/c");
    EXPECT_EQ(DeleteFile(nullptr), kDeleted);
    EXPECT_EQ(seen_path, L"(null)");
    const char* narrow = "a\\b";
    EXPECT_EQ(KaltoFopen(narrow, "r+"), kStream);
    EXPECT_EQ(seen[0], word(narrow));
    EXPECT_EQ(_wfopen((L"x\\" + std::wstring(1000, L'y')).c_str(), L"r+"), kStream);
    EXPECT_EQ(seen_path, L"x\\" + std::wstring(1000, L'y'));
}

TEST(OwnHooks, MoveFileExChoosesByItsFlags) {
    const struct {
        DWORD flags;
        BOOL host; // what moving and copying answer, and what is passed on as it is
        const char* calls;
    } cases[] = {
        {0, TRUE, "MoveFile"},  {0, FALSE, "MoveFile"},          {1, 5, "MoveFile"}, {8, TRUE, "MoveFile"},
        {2, FALSE, "CopyFile"}, {2, TRUE, "CopyFileDeleteFile"}, {2, 5, "CopyFile"}, // deletes after 1 alone
        {3, FALSE, "CopyFile"}, {3, TRUE, "CopyFileDeleteFile"}, {4, TRUE, ""},      {0x10, TRUE, ""},
    };
    for (const auto& c : cases) {
        called.clear();
        result = c.host;
        last_error = 99;
        EXPECT_EQ(MoveFileEx(L"\\a", L"\\c", c.flags), *c.calls != '\0' ? c.host : FALSE) << c.flags;
        EXPECT_EQ(last_error, *c.calls != '\0' ? 99u : 19u) << c.flags;
        EXPECT_EQ(called, c.calls) << c.flags;
        if (*c.calls == 'C') {
            EXPECT_EQ(fails_if_there, static_cast<BOOL>(c.flags & 1)) << "replacing means failing";
        }
        if (called == "CopyFileDeleteFile") {
            EXPECT_EQ(seen_path, L"/a") << c.flags;
        }
    }
}
