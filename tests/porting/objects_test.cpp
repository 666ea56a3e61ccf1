#include <gtest/gtest.h>
#include <kalto/porting.h>

namespace {

TEST(OpenByName, FindsTheObjectOfThatKindAndCountsAsAnOpener) {
    using Open = HANDLE (*)(DWORD, BOOL, LPCWSTR);
    const struct {
        HANDLE made;
        Open open;
    } cases[] = {
        {CreateEvent(nullptr, TRUE, FALSE, L"name"), OpenEvent},
        {CreateMutex(nullptr, FALSE, L"name"), OpenMutex},
        {CreateSemaphore(nullptr, 1, 1, L"name"), OpenSemaphore},
        {CreateFileMapping(nullptr, nullptr, PAGE_READWRITE, 0, 16, L"name"), OpenFileMapping},
    };
    for (const auto& c : cases) {
        ASSERT_NE(nullptr, c.made);
        for (LPCWSTR none : {L"Name", LPCWSTR{}}) {
            EXPECT_EQ(nullptr, c.open(0, FALSE, none));
            EXPECT_EQ(none != nullptr ? ERROR_FILE_NOT_FOUND : ERROR_INVALID_PARAMETER,
                      static_cast<int>(GetLastError()));
        }
        EXPECT_EQ(c.made, c.open(0, FALSE, L"name"));
    }
    for (const auto& c : cases) {
        EXPECT_TRUE(CloseHandle(c.made));
        EXPECT_EQ(nullptr, c.open(0, FALSE, L"name"));
        EXPECT_TRUE(CloseHandle(c.made)); // the second opener's: its memory must still be there
    }
}

TEST(GetStdHandle, WritesThroughTheDescriptorAndSurvivesAClose) {
    HANDLE out = GetStdHandle(STD_OUTPUT_HANDLE);
    EXPECT_TRUE(CloseHandle(out));
    EXPECT_EQ(out, GetStdHandle(STD_OUTPUT_HANDLE));
    testing::internal::CaptureStdout();
    DWORD written = 0;
    EXPECT_TRUE(WriteFile(out, "out", 3, &written, nullptr));
    EXPECT_EQ("out", testing::internal::GetCapturedStdout());
    EXPECT_EQ(3u, written);
    EXPECT_EQ(INVALID_HANDLE_VALUE, GetStdHandle(1));
}

TEST(DebugBreak, EndsWithTheCrashReport) {
    InstallSignalHandlers();
    EXPECT_DEATH(DebugBreak(), "SIGTRAP");
}

} // namespace
