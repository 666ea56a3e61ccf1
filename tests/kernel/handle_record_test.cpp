#include "kernel/handle_record.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <kalto/kernel.h>
#include <stdlib.h>
#include <string.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr DWORD kTypes[] = {HT_FILE,  HT_FIND,      HT_MODULE, HT_EVENT,
                            HT_MUTEX, HT_SEMAPHORE, HT_THREAD, HT_PROCESS};

kalto::HandleRecord* head_of(HANDLE handle) {
    return static_cast<kalto::HandleRecord*>(handle);
}

TEST(HandleRecord, ANewRecordHasItsTypeOneReferenceAndZeros) {
    for (const DWORD type : kTypes) {
        HANDLE handle = nullptr;
        ASSERT_EQ(create_handle(type, nullptr, &handle), 1) << type;
        ASSERT_NE(handle, nullptr) << type;
        EXPECT_EQ(head_of(handle)->type, type);
        EXPECT_EQ(head_of(handle)->references, 1) << type;
        const char zeros[8] = {};
        EXPECT_EQ(memcmp(head_of(handle) + 1, zeros, type == HT_PROCESS ? 4 : 8), 0) << type;
        EXPECT_TRUE(CloseHandle(handle)) << type;
    }
}

TEST(HandleRecord, ATypeThatDoesNotExistEndsTheProcess) {
    for (const DWORD type : {DWORD{7}, DWORD{9}, ~DWORD{0}}) {
        HANDLE handle = nullptr;
        EXPECT_EXIT(create_handle(type, nullptr, &handle), testing::ExitedWithCode(1), "") << type;
        EXPECT_EXIT(create_handle(type, L"named", &handle), testing::ExitedWithCode(1), "") << type;
    }
}

TEST(CloseHandle, AcceptsTheValuesThatAreNoHandles) {
    EXPECT_EQ(CloseHandle(nullptr), TRUE);
    EXPECT_EQ(CloseHandle(INVALID_HANDLE_VALUE), TRUE);
}

TEST(CloseHandle, LowersTheCountOfAnObjectWithOtherReferences) {
    HANDLE handle = nullptr;
    create_handle(HT_FILE, nullptr, &handle);
    auto* const file = kalto::file_record_of(handle);
    file->descriptor = -1;
    file->head.references = 2;
    EXPECT_EQ(CloseHandle(handle), TRUE);
    EXPECT_EQ(file->head.references, 1);
    CloseHandle(handle);
}

TEST(CloseHandle, ReleasesWhatAFileHolds) {
    HANDLE handle = nullptr;
    create_handle(HT_FILE, nullptr, &handle);
    auto* const file = kalto::file_record_of(handle);
    const int descriptor = open("/dev/null", O_RDONLY);
    file->descriptor = descriptor;
    file->buffer = malloc(10); // a leak for the address sanitizer, if it stayed
    file->auxiliary = strdup("/dev/null");
    CloseHandle(handle);
    EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
}

TEST(NamedObjects, AreFoundByExactNameAndType) {
    HANDLE first = nullptr;
    HANDLE again = nullptr;
    HANDLE other = nullptr;
    ASSERT_EQ(create_handle(HT_FILE, L"name", &first), 1);
    EXPECT_EQ(create_handle(HT_FILE, L"name", &again), 0);
    EXPECT_EQ(again, first);
    EXPECT_EQ(head_of(first)->references, 1) << "an opener by name adds no reference, deliberately";
    EXPECT_EQ(create_handle(HT_FILE, L"Name", &other), 1);
    CloseHandle(other);
    EXPECT_EQ(create_handle(HT_FIND, L"name", &other), 1);
    CloseHandle(other);
    kalto::file_record_of(first)->descriptor = -1;
    CloseHandle(first);
    CloseHandle(again);
}

TEST(NamedObjects, TheFirstCloseReleasesTheObjectForAllItsOpeners) {
    HANDLE handle = nullptr;
    create_handle(HT_FILE, L"shared", &handle);
    const int descriptor = open("/dev/null", O_RDONLY);
    kalto::file_record_of(handle)->descriptor = descriptor;
    HANDLE opened[2];
    EXPECT_EQ(create_handle(HT_FILE, L"shared", &opened[0]), 0);
    EXPECT_EQ(create_handle(HT_FILE, L"shared", &opened[1]), 0);

    CloseHandle(handle);
    EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
    EXPECT_EQ(kalto::file_record_of(opened[0]), nullptr) << "refused by every call";
    HANDLE fresh = nullptr;
    EXPECT_EQ(create_handle(HT_FILE, L"shared", &fresh), 1) << "the name is free at once";
    EXPECT_NE(fresh, handle);
    EXPECT_TRUE(CloseHandle(opened[0]));
    EXPECT_TRUE(CloseHandle(opened[1])); // the memory goes now: any more use is the address sanitizer's
    kalto::file_record_of(fresh)->descriptor = -1;
    CloseHandle(fresh);
}

TEST(NamedObjects, ThreadsThatCreateAndCloseOneNameLeaveNothing) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([] {
            for (int i = 0; i < 2000 / KALTO_TEST_TIME_FACTOR; ++i) {
                HANDLE handle = nullptr;
                create_handle(HT_MODULE, L"contended", &handle);
                ASSERT_NE(handle, nullptr);
                ASSERT_FALSE(SetEvent(handle)) << "another thread may be releasing it";
                CloseHandle(handle);
            }
        });
    for (auto& thread : threads)
        thread.join();
    HANDLE handle = nullptr;
    EXPECT_EQ(create_handle(HT_MODULE, L"contended", &handle), 1);
    CloseHandle(handle);
}

} // namespace
