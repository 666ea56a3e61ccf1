// Every allocation of a few calls fails in turn: the calls report it, nothing is thrown, and the next calls
// work.
#include "sandbox.h"

#include <cstdlib>

// The sanitizers have allocators of their own, which must not be replaced.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

namespace {
long g_allocationsLeft = -1; // before one fails; negative: none does
bool fails() {
    return g_allocationsLeft >= 0 && g_allocationsLeft-- == 0;
}
} // namespace

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);

__attribute__((visibility("default"))) void* malloc(size_t size) {
    return fails() ? nullptr : __libc_malloc(size);
}
__attribute__((visibility("default"))) void* calloc(size_t count, size_t size) {
    return fails() ? nullptr : __libc_calloc(count, size);
}
__attribute__((visibility("default"))) void* realloc(void* block, size_t size) {
    return fails() ? nullptr : __libc_realloc(block, size);
}
}

namespace {

class Memory : public Sandbox {};

// Long names, so that converting them needs memory; enough values for an index.
LONG some_calls() {
    HKEY key = nullptr;
    LONG error = RegCreateKeyEx(HKEY_USERS, L"a key with a name of some length\\and one more below it", 0,
                                nullptr, 0, 0, nullptr, &key, nullptr);
    wchar_t name[] = L"a value with a name of some length A";
    for (int i = 0; i < 20 && error == ERROR_SUCCESS; ++i, ++name[std::size(name) - 2])
        error = set_string(key, name, name);
    DWORD size = sizeof name;
    if (error == ERROR_SUCCESS)
        error = RegQueryValueEx(key, L"a value with a name of some length C", nullptr, nullptr,
                                reinterpret_cast<LPBYTE>(name), &size);
    RegCloseKey(key);
    return error;
}

TEST_F(Memory, ExhaustedAtAnyAllocationIsReportedAndPasses) {
    bool reached = true;
    for (long allocation = 0; reached && !HasFailure(); ++allocation) {
        SCOPED_TRACE(allocation);
        unlink(path().c_str());
        const int status = in_child([&] {
            g_log.reserve(100);
            g_allocationsLeft = allocation;
            const LONG error = some_calls();
            const bool hit = g_allocationsLeft < 0;
            g_allocationsLeft = -1;
            EXPECT_TRUE(error == 0 || error == 1016 || error == 2) << error;
            EXPECT_EQ(some_calls(), 0);
            EXPECT_NE(VerifyRegistry(path().c_str()), 0);
            EXPECT_NE(read().find("length T"), std::string::npos);
            return hit ? 1 : 0;
        });
        ASSERT_TRUE(status == 0 || status == 1) << status;
        reached = status == 1;
    }
}

} // namespace

#endif
