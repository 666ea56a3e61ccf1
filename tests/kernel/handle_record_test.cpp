#include "tests/kernel/sleeper.h"

#include <fcntl.h>
#include <stdlib.h>
#include <string.h>

using kalto_test::Sleeper;

namespace {

HANDLE make(DWORD type, LPCWSTR name, int expected = 1) {
    HANDLE handle = nullptr;
    EXPECT_EQ(create_handle(type, name, &handle), expected) << type;
    return handle;
}

// A file record that holds an open descriptor and memory.
HANDLE make_file(LPCWSTR name, int& descriptor) {
    const HANDLE handle = make(HT_FILE, name);
    kalto::FileRecord& file = *kalto::file_record_of(handle);
    descriptor = file.descriptor = open("/dev/null", O_RDONLY);
    file.buffer = malloc(10); // a leak for the address sanitizer, if it stayed
    file.auxiliary = strdup("/dev/null");
    return handle;
}

TEST(HandleRecord, HasItsTypeOneReferenceAndZerosOrEndsTheProcess) {
    for (const DWORD type : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, ~0u}) {
        if (type == 7 || type > 8) {
            EXPECT_EXIT(make(type, nullptr), testing::ExitedWithCode(1), "") << type;
            continue;
        }
        const HANDLE handle = make(type, nullptr);
        const DWORD expected[] = {type, 1, 0};
        EXPECT_EQ(memcmp(handle, expected, sizeof expected), 0) << type;
        EXPECT_TRUE(CloseHandle(handle)) << type;
    }
    EXPECT_TRUE(CloseHandle(nullptr) && CloseHandle(INVALID_HANDLE_VALUE));
}

// Deliberate: an opener by name adds no reference, so the first close releases the object for all of them.
TEST(NamedObjects, AreFoundByExactNameAndTypeUntilTheFirstClose) {
    int descriptor = -1;
    const HANDLE first = make_file(L"shared", descriptor);
    const HANDLE again = make(HT_FILE, L"shared", 0);
    EXPECT_EQ(again, first);
    EXPECT_EQ(make(HT_FILE, L"shared", 0), first);
    for (const HANDLE other : {make(HT_FILE, L"Shared"), make(HT_FIND, L"shared")})
        CloseHandle(other);

    CloseHandle(first);
    EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
    EXPECT_EQ(kalto::file_record_of(again), nullptr) << "refused by every call";
    const HANDLE fresh = make_file(L"shared", descriptor); // the name is free at once
    EXPECT_NE(fresh, again);
    EXPECT_TRUE(CloseHandle(again));
    EXPECT_TRUE(CloseHandle(again)); // the memory goes now: any more use is the address sanitizer's
    CloseHandle(fresh);
}

TEST(NamedObjects, ThreadsThatCreateAndCloseOneNameLeaveNothing) {
    const auto create_and_close = [] {
        DWORD refused = 0;
        for (int i = 0; i < 2000 / KALTO_TEST_TIME_FACTOR; ++i) {
            HANDLE handle = nullptr;
            create_handle(HT_MODULE, L"contended", &handle);
            refused += SetEvent(handle) ? 0 : 1; // while another thread may be releasing it
            CloseHandle(handle);
        }
        return refused;
    };
    Sleeper threads[] = {Sleeper(create_and_close), Sleeper(create_and_close), Sleeper(create_and_close)};
    for (Sleeper& thread : threads)
        EXPECT_EQ(thread.result(), DWORD{2000 / KALTO_TEST_TIME_FACTOR});
    CloseHandle(make(HT_MODULE, L"contended"));
}

} // namespace
