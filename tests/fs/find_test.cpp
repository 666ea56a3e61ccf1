// Directory searches.
#include "tests/fs/times.h"
#include "tests/scratch.h"

#include <clocale>
#include <kalto/core.h>
#include <kalto/kernel.h>

namespace {

std::string name_of(const WIN32_FIND_DATA& found) {
    return {found.cFileName, found.cFileName + wcslen(found.cFileName)};
}

// What a search finds, sorted.
Names search(const std::wstring& pattern) {
    Names names;
    WIN32_FIND_DATA found = {};
    HANDLE handle = FindFirstFile(pattern.c_str(), &found);
    for (bool more = handle != INVALID_HANDLE_VALUE; more; more = FindNextFile(handle, &found) != FALSE)
        names.push_back(name_of(found));
    EXPECT_TRUE(FindClose(handle));
    std::sort(names.begin(), names.end());
    return names;
}

TEST(Find, ListsWhatMatches) {
    const Scratch scratch;
    scratch.make_directory("sub");
    for (const char* name : {".a.txt", "b.txt", "c.TXT", "[x]", "sub/deep"})
        scratch.put(name);
    const Names all = {".", "..", ".a.txt", "[x]", "b.txt", "c.TXT", "sub"}, below = {".", "..", "deep"};
    const struct {
        const wchar_t* given;
        Names found;
    } cases[] = {
        {L"", all},
        {L"sub\\//", below},
        {L"sub\\d*", {"deep"}},
        {L"*.*", {".", "..", ".a.txt", "b.txt", "c.TXT"}},
        {L"[ab].*", {"b.txt"}},
        {L"none*", {}},
        {L"nothing\\", {}}, // an empty pattern
    };
    for (const auto& c : cases)
        EXPECT_EQ(search(scratch.wide(c.given)), c.found) << c.given;
    ASSERT_EQ(chdir(scratch.path("sub").c_str()), 0);
    EXPECT_EQ(search(L"deep*"), Names{"deep"}); // in the working directory
    ASSERT_EQ(chdir("/"), 0);
    EXPECT_EQ(search(L"\\?ib"), Names{"lib"}); // a pattern directly under the root

    WIN32_FIND_DATA found = {};
    SetLastError(99);
    EXPECT_EQ(FindFirstFile(nullptr, &found), INVALID_HANDLE_VALUE);
    EXPECT_EQ(FindFirstFile(L"\\*", nullptr), INVALID_HANDLE_VALUE);
    EXPECT_EQ(FindFirstFile(L"", &found), INVALID_HANDLE_VALUE);
    EXPECT_EQ(FindFirstChangeNotification(L"\\nothing like this", FALSE, 0), nullptr);
    EXPECT_EQ(FindFirstChangeNotification(nullptr, FALSE, 0), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{99});
}

TEST(Find, LongPathsAndForeignNamesArriveWhole) {
    ASSERT_NE(setlocale(LC_ALL, "C.UTF-8"), nullptr);
    const Scratch scratch;
    const std::string name = std::string(150, 'd') + "\xE2\x82\xAC";
    const std::wstring wide = std::wstring(150, L'd') + L"\x20AC";
    scratch.make_directory(name + "/" + name);
    EXPECT_EQ(search(scratch.wide(wide + L"\\" + wide + L"\\..\\d*")), Names{std::string(150, 'd') + "\xAC"});
    setlocale(LC_ALL, "C");
}

TEST(Find, ARecordHoldsTheRawModeAndTheTimes) {
    const Scratch scratch;
    const std::int64_t in_2040 = 2208988800; // later than a 32-bit time_t holds
    scratch.put("file", "0123456789", 0640);
    set_times(scratch.path("file"), 1700000000, in_2040);
    struct statx status = {};
    ASSERT_EQ(statx(AT_FDCWD, scratch.path("file").c_str(), 0, STATX_BASIC_STATS, &status), 0);
    WIN32_FIND_DATA found;
    FindClose(FindFirstFile(scratch.wide("f?le").c_str(), &found));
    EXPECT_EQ(found.dwFileAttributes, DWORD{S_IFREG | 0640});
    EXPECT_EQ(ticks(found.ftCreationTime), ticks(status.stx_ctime.tv_sec));
    EXPECT_EQ(ticks(found.ftLastAccessTime), ticks(1700000000));
    EXPECT_EQ(ticks(found.ftLastWriteTime), ticks(status.stx_mtime.tv_sec));
    EXPECT_EQ(found.nFileSizeHigh, DWORD{0});
    EXPECT_EQ(found.nFileSizeLow, DWORD{10});
    EXPECT_EQ(GetFileAttributes(scratch.wide("file").c_str()), DWORD{0x80000000});
}

// A change notification is a search of the whole directory.
TEST(Find, AMatchThatCannotBeLookedAtIsAnsweredWithFalseAndPassedByTheNextCall) {
    const Scratch scratch;
    for (int i = 0; i < 5; ++i) {
        scratch.put(std::to_string(i));
        ASSERT_EQ(symlink("nothing", scratch.path("-" + std::to_string(i)).c_str()), 0);
    }
    HANDLE handle = FindFirstChangeNotification((scratch.wide() + L"\\").c_str(), FALSE, 0);
    EXPECT_TRUE(FindNextChangeNotification(handle));
    std::string answers;
    for (int i = 0; i < 12; ++i) { // with "." and ".."
        WIN32_FIND_DATA data = {};
        const bool more = FindNextFile(handle, &data) != FALSE;
        EXPECT_EQ(more, data.cFileName[0] != L'\0');
        answers += more ? '+' : '-';
    }
    EXPECT_EQ(std::count(answers.begin(), answers.end(), '+'), 7);
    EXPECT_NE(answers.find("-+"), std::string::npos) << "passed by in silence: " << answers;
    EXPECT_TRUE(FindCloseChangeNotification(handle));
}

TEST(Find, FilesRemovedMeanwhileDoNotHideTheOthers) {
    const Scratch scratch;
    for (int i = 0; i < 20; ++i)
        scratch.put(std::to_string(i));
    WIN32_FIND_DATA found = {};
    HANDLE handle = FindFirstFile(scratch.wide(L"[0-9]*").c_str(), &found);
    const std::string kept = name_of(found) == "7" ? "8" : "7";
    for (int i = 0; i < 20; ++i)
        if (std::to_string(i) != kept)
            unlink(scratch.path(std::to_string(i)).c_str());
    EXPECT_TRUE(FindNextFile(handle, &found));
    EXPECT_EQ(name_of(found), kept);
    EXPECT_FALSE(FindNextFile(handle, &found) || FindNextFile(handle, &found)) << "the end stays the end";
    FindClose(handle);
}

} // namespace
