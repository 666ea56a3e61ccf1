// File mappings: memory shared by name.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <kalto/fs.h>
#include <kalto/kernel.h>
#include <string>
#include <thread>

TEST(Mapping, IsSharedByNameAndZeroAtFirst) {
    EXPECT_EQ(CreateFileMapping(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 16, nullptr), nullptr);
    HANDLE first = CreateFileMapping(nullptr, nullptr, PAGE_READWRITE, 7, 16, L"shared");
    EXPECT_EQ(CreateFileMapping(INVALID_HANDLE_VALUE, nullptr, 0, 0, 99, L"shared"), first);
    auto* view = static_cast<char*>(MapViewOfFile(first, FILE_MAP_WRITE, 0, 0, 0));
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(std::string(view, 16), std::string(16, '\0'));
    EXPECT_EQ(MapViewOfFile(first, FILE_MAP_READ, 5, 16, 0), view + 16);
    EXPECT_EQ(MapViewOfFile(first, 0, 0, 17, 0), nullptr);
    view[15] = 'x';
    EXPECT_TRUE(UnmapViewOfFile(view));
    EXPECT_EQ(view[15], 'x'); // still there
    CloseHandle(first);
    CloseHandle(first);
}

TEST(Mapping, IsCompleteWheneverAnotherThreadFindsIt) {
    const auto contend = [] {
        for (int round = 0; round < 300; ++round) {
            HANDLE mapping = CreateFileMapping(nullptr, nullptr, 0, 0, 64, L"contended");
            ASSERT_NE(mapping, nullptr);
            MapViewOfFile(mapping, 0, 0, 0, 0); // null once another thread has closed it
            CloseHandle(mapping);
        }
    };
    std::thread second(contend), third(contend);
    contend();
    second.join();
    third.join();
    EXPECT_GE(fcntl(0, F_GETFD), 0) << "an unfinished record would have closed descriptor 0";
}
