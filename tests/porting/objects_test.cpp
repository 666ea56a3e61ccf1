#include <clocale>
#include <gtest/gtest.h>
#include <kalto/porting.h>
#include <string>

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
        SetLastError(0);
        EXPECT_EQ(nullptr, c.open(0, FALSE, L"Name"));
        EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, GetLastError());
        EXPECT_EQ(nullptr, c.open(0, FALSE, nullptr));
        EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, GetLastError());
        EXPECT_EQ(c.made, c.open(0, FALSE, L"name"));
    }
    for (const auto& c : cases) {
        EXPECT_TRUE(CloseHandle(c.made));
        EXPECT_EQ(nullptr, c.open(0, FALSE, L"name"));
        EXPECT_TRUE(CloseHandle(c.made)); // the second opener's: its memory must still be there
    }
}

TEST(GetModuleHandle, GivesOneLastingHandleForAModule) {
    HMODULE program = GetModuleHandle(nullptr);
    ASSERT_NE(nullptr, program);
    EXPECT_EQ(program, GetModuleHandle(L"CoreDll.dll"));
    EXPECT_NE(nullptr, GetProcAddress(program, L"GetTickCount"));
    FreeLibrary(program); // wrong, but seen
    EXPECT_NE(nullptr, GetProcAddressA(GetModuleHandle(nullptr), "Sleep"));
    HMODULE library = GetModuleHandle(L"libc.so.6");
    EXPECT_NE(nullptr, library);
    EXPECT_NE(program, library);
    EXPECT_EQ(nullptr, GetModuleHandle(L"no_such_module.dll"));
    EXPECT_EQ(DWORD{ERROR_MOD_NOT_FOUND}, GetLastError());
    EXPECT_EQ(nullptr, LoadLibraryEx(L"no_such_module.dll", nullptr, 0));
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

TEST(GetExitCodeProcess, KnowsOnlyTheCallingProcess) {
    DWORD code = 5;
    EXPECT_TRUE(GetExitCodeProcess(GetCurrentProcess(), &code));
    EXPECT_EQ(DWORD{STILL_ACTIVE}, code);
    PROCESS_INFORMATION process = {};
    wchar_t command[] = L"/bin/true";
    ASSERT_TRUE(
        CreateProcess(nullptr, command, nullptr, nullptr, TRUE, 0, nullptr, nullptr, nullptr, &process));
    EXPECT_FALSE(GetExitCodeProcess(process.hThread, &code));
    EXPECT_EQ(DWORD{ERROR_NOT_SUPPORTED}, GetLastError());
    EXPECT_EQ(0xFFFFFFFFu, code);
    CloseHandle(process.hThread);
    EXPECT_FALSE(GetExitCodeProcess(nullptr, &code));
}

TEST(GetFileAttributesEx, AgreesWithTheOtherCalls) {
    const std::string name = testing::TempDir() + "kalto_porting_attributes";
    FILE* file = fopen(name.c_str(), "w");
    ASSERT_NE(nullptr, file);
    fputs("12345", file);
    fclose(file);
    const std::wstring wide(name.begin(), name.end());
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    EXPECT_TRUE(GetFileAttributesEx(wide.c_str(), GetFileExInfoStandard, &data));
    EXPECT_EQ(GetFileAttributes(wide.c_str()), data.dwFileAttributes);
    EXPECT_EQ(5u, data.nFileSizeLow);
    EXPECT_EQ(0u, data.nFileSizeHigh);
    EXPECT_NE(0u, data.ftLastWriteTime.dwHighDateTime);
    remove(name.c_str());
    EXPECT_FALSE(GetFileAttributesEx(wide.c_str(), GetFileExInfoStandard, &data));
    EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, GetLastError());
    EXPECT_FALSE(GetFileAttributesEx(L"/dev/null", GetFileExInfoStandard, &data));
}

TEST(Machine, ModeFeaturesAndEncodingAreAnswered) {
    EXPECT_EQ(0u, SetErrorMode(SEM_FAILCRITICALERRORS));
    EXPECT_EQ(UINT{SEM_FAILCRITICALERRORS}, SetErrorMode(0));
    EXPECT_FALSE(IsProcessorFeaturePresent(PF_FLOATING_POINT_EMULATED));
#ifdef __arm__
    EXPECT_TRUE(IsProcessorFeaturePresent(PF_ARM_THUMB));
#endif
    EXPECT_EQ(20127u, GetACP());
    setlocale(LC_ALL, "C.UTF-8");
    EXPECT_EQ(UINT{CP_UTF8}, GetACP());
    InstallSignalHandlers();
    EXPECT_DEATH(DebugBreak(), "SIGTRAP");
}

} // namespace
