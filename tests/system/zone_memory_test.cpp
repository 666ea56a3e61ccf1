// GetLocalTime sets TZ aside for a moment: it must come back even when memory runs out in that moment.
#include <cerrno>
#include <cstdlib>
#include <gtest/gtest.h>
#include <kalto/system.h>
#include <string>

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // they bring an allocator of their own

static long until_failure = -1; // allocations to go until all fail; -1: none fails

extern "C" void* __libc_malloc(size_t size);
extern "C" KALTO_API void* malloc(size_t size) {
    if (until_failure > 0)
        --until_failure;
    if (until_failure != 0)
        return __libc_malloc(size);
    errno = ENOMEM;
    return nullptr;
}

TEST(ZoneMemory, LocalTimeNeverLosesTz) {
    char inherited[20][32]; // as a process is given them: the C library has no copy of the text
    for (int n = 0; n < 20; ++n) {
        const std::string zone = "IST-5:" + std::to_string(10 + n);
        snprintf(inherited[n], sizeof inherited[n], "TZ=%s", zone.c_str());
        putenv(inherited[n]);
        SYSTEMTIME now = {};
        until_failure = n;
        GetLocalTime(&now);
        until_failure = -1;
        EXPECT_EQ(getenv("TZ"), zone) << n;
        unsetenv("TZ");
    }
}

#endif
