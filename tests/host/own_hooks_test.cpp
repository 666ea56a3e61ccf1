// An application that exports hooks of its own: they are called instead of the reference host's, with the
// arguments of the call as they are.
#include <gtest/gtest.h>
#include <kalto/core.h>
#include <kalto/fs.h>
#include <kalto/host.h>
#include <vector>

namespace {

using Words = std::vector<uintptr_t>;
Words seen;
std::wstring seen_path;

uintptr_t word(uintptr_t number) {
    return number;
}
uintptr_t word(const void* pointer) {
    return reinterpret_cast<uintptr_t>(pointer);
}

template <typename... Arguments> Words words(Arguments... arguments) {
    return {word(arguments)...};
}

const HANDLE kHandle = reinterpret_cast<HANDLE>(77);
const BOOL kResult = 78;
FILE* const kStream = reinterpret_cast<FILE*>(79);

} // namespace

#define HOOK(answer, result, name, parameters, ...)                                                          \
    result name parameters {                                                                                 \
        seen = words(__VA_ARGS__);                                                                           \
        return answer;                                                                                       \
    }

DWORD PTR_GetLastError(void) {
    return 4711;
}
HOOK(kHandle, HANDLE, PTR_CreateFile,
     (LPCWSTR a, DWORD b, DWORD c, LPSECURITY_ATTRIBUTES d, DWORD e, DWORD f, HANDLE g), a, b, c, d, e, f, g)
HOOK(kResult, BOOL, PTR_ReadFile, (HANDLE a, LPVOID b, DWORD c, LPDWORD d, LPOVERLAPPED e), a, b, c, d, e)
HOOK(kResult, BOOL, PTR_WriteFile, (HANDLE a, LPCVOID b, DWORD c, LPDWORD d, LPOVERLAPPED e), a, b, c, d, e)
HOOK(kResult, BOOL, PTR_CopyFile, (LPCWSTR a, LPCWSTR b, BOOL c), a, b, static_cast<DWORD>(c))
HOOK(kResult, BOOL, PTR_MoveFile, (LPCWSTR a, LPCWSTR b), a, b)
HOOK(kResult, BOOL, PTR_CreateDirectory, (LPCWSTR a, LPSECURITY_ATTRIBUTES b), a, b)
HOOK(kResult, BOOL, PTR_RemoveDirectory, (LPCWSTR a), a)
HOOK(kResult, BOOL, PTR_DeleteFile, (LPCWSTR a), (seen_path = a != nullptr ? a : L"(null)").size())
HOOK(kStream, FILE*, PTR_KaltoFopen, (const char* a, const char* b), (seen_path.assign(a, a + strlen(a)), a),
     b)

TEST(OwnHooks, GetTheArgumentsAsTheyAre) {
    const wchar_t* path = L"a\\b";
    const wchar_t* other = L"c\\d";
    SECURITY_ATTRIBUTES security = {};
    OVERLAPPED overlapped = {};
    DWORD count = 0;
    char data = 0;
    EXPECT_EQ(GetLastError(), DWORD{4711});
    EXPECT_EQ(CreateFile(path, 1, 2, &security, 3, 4, kHandle), kHandle);
    EXPECT_EQ(seen, words(path, 1u, 2u, &security, 3u, 4u, kHandle));
    EXPECT_EQ(ReadFile(kHandle, &data, 5, &count, &overlapped), kResult);
    EXPECT_EQ(seen, words(kHandle, &data, 5u, &count, &overlapped));
    seen.clear();
    EXPECT_EQ(WriteFile(kHandle, &data, 5, &count, &overlapped), kResult);
    EXPECT_EQ(seen, words(kHandle, &data, 5u, &count, &overlapped));
    EXPECT_EQ(CopyFile(path, other, 7), kResult);
    EXPECT_EQ(seen, words(path, other, 7u));
    EXPECT_EQ(MoveFile(path, other), kResult);
    EXPECT_EQ(seen, words(path, other));
    EXPECT_EQ(CreateDirectory(path, &security), kResult);
    EXPECT_EQ(seen, words(path, &security));
    EXPECT_EQ(RemoveDirectory(path), kResult);
    EXPECT_EQ(seen, words(path));
}

TEST(OwnHooks, DeletingPassesACopyWithSlashes) {
    std::wstring path = L"\\a\\b/c";
    EXPECT_EQ(DeleteFile(path.c_str()), kResult);
    EXPECT_EQ(seen_path, L"/a/b/c");
    EXPECT_EQ(path, L"\\a\\b/c");
    EXPECT_EQ(DeleteFile(nullptr), kResult);
    EXPECT_EQ(seen_path, L"(null)");
}

TEST(OwnHooks, StreamsGetThePathWithItsBackslashes) {
    const char* path = "a\\b";
    EXPECT_EQ(KaltoFopen(path, "r+"), kStream);
    EXPECT_EQ(seen[0], reinterpret_cast<uintptr_t>(path));
    EXPECT_EQ(_wfopen((L"x\\" + std::wstring(1000, L'y')).c_str(), L"r+"), kStream);
    EXPECT_EQ(seen_path, L"x\\" + std::wstring(1000, L'y'));
}
