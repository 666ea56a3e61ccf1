// What happens when memory runs out: one allocation after the other fails, each once.
#include "tests/scratch.h"

#include <functional>
#include <kalto/kernel.h>

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // they bring an allocator of their own

static long until_failure = -1; // allocations to go until one fails; -1: none fails

static bool fails() {
    errno = ENOMEM;
    return until_failure >= 0 && until_failure-- == 0;
}

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
KALTO_API void* malloc(size_t size) {
    return fails() ? nullptr : __libc_malloc(size);
}
KALTO_API void* calloc(size_t count, size_t size) {
    return fails() ? nullptr : __libc_calloc(count, size);
}
}

static int lowest_free_descriptor() {
    const int descriptor = open("/dev/null", O_RDONLY);
    close(descriptor);
    return descriptor;
}

// Every call succeeds or gives its failure value, and keeps no descriptor; with memory again it succeeds.
TEST(OutOfMemory, IsTheDescribedFailure) {
    const Scratch scratch;
    scratch.put("f");
    const std::wstring root = scratch.wide(), path = scratch.wide("f"), missing = scratch.wide("missing");
    WIN32_FIND_DATA found;
    VS_FIXEDFILEINFO record;
    wchar_t name[4096];
    const std::function<bool()> calls[] = {
        [&] { return GetFileAttributes(path.c_str()) != INVALID_FILE_ATTRIBUTES; },
        [&] {
            HANDLE search = FindFirstFile(root.c_str(), &found);
            bool complete = search != INVALID_HANDLE_VALUE;
            for (int i = 0; complete && i < 2; ++i) // ".", ".." and the file
                complete = FindNextFile(search, &found) != FALSE;
            FindClose(search);
            return complete;
        },
        [&] {
            HANDLE notification = FindFirstChangeNotification(root.c_str(), FALSE, 0);
            return notification != nullptr && FindCloseChangeNotification(notification);
        },
        [&] {
            HANDLE mapping = CreateFileMapping(nullptr, nullptr, 0, 0, 16, L"mapping");
            const bool usable = mapping != nullptr && MapViewOfFile(mapping, 0, 0, 0, 0) != nullptr;
            EXPECT_EQ(usable, mapping != nullptr);
            CloseHandle(mapping);
            return usable;
        },
        [&] { return FreeLibrary(LoadLibrary(L"x.exe")) != FALSE; },
        [&] { return LoadLibrary(missing.c_str()) == nullptr; },
        [&] { return GetModuleFileName(nullptr, name, 4096) != ~DWORD{0}; },
        [&] { return GetFileVersionInfo(path.c_str(), 0, sizeof record, &record) != FALSE; },
    };
    const int descriptor = lowest_free_descriptor();
    for (const auto& call : calls) {
        bool failed = true;
        for (long n = 0; failed && n < 1000; ++n) {
            until_failure = n;
            call();
            failed = until_failure < 0;
            until_failure = -1;
            EXPECT_EQ(lowest_free_descriptor(), descriptor);
        }
        EXPECT_FALSE(failed) << "never succeeds";
        EXPECT_TRUE(call());
    }
}

#endif
