// Directory searches, against the directory as the system reads it.
#include "tests/fs/times.h"
#include "tests/scratch.h"

#include <dirent.h>
#include <fnmatch.h>
#include <kalto/core.h>
#include <kalto/kernel.h>
#include <set>

namespace {

// The names of a directory in its order, those that match alone.
Names model(const std::string& directory, const char* pattern) {
    Names names;
    DIR* stream = opendir(directory.c_str());
    while (const dirent64* entry = readdir64(stream))
        if (fnmatch(pattern, entry->d_name, 0) == 0)
            names.emplace_back(entry->d_name);
    closedir(stream);
    return names;
}

// The names that a search finds from here on.
Names rest_of(HANDLE search) {
    Names names;
    WIN32_FIND_DATA found = {};
    while (FindNextFile(search, &found))
        names.emplace_back(found.cFileName, found.cFileName + wcslen(found.cFileName));
    EXPECT_FALSE(FindNextFile(search, &found)) << "the end stays the end";
    return names;
}

Names search(const std::wstring& pattern) {
    WIN32_FIND_DATA first = {};
    HANDLE handle = FindFirstFile(pattern.c_str(), &first);
    if (handle == INVALID_HANDLE_VALUE)
        return {};
    Names names = rest_of(handle);
    names.emplace(names.begin(), first.cFileName, first.cFileName + wcslen(first.cFileName));
    EXPECT_TRUE(FindClose(handle));
    return names;
}

} // namespace

TEST(Find, ListsWhatMatchesInTheOrderOfTheDirectory) {
    const Scratch scratch;
    scratch.make_directory("sub");
    for (const char* name : {"a.txt", "b.txt", ".hidden.txt", "noext", "c.TXT", "[x]", "sub/deep.txt"})
        scratch.put(name);
    const struct {
        const wchar_t* given;
        const char *directory, *pattern;
    } cases[] = {
        {L"", "", "*"},
        {L"sub", "sub", "*"},
        {L"sub\\//", "sub", "*"},
        {L"*", "", "*"},
        {L"*.txt", "", "*.txt"},
        {L"*.*", "", "*.*"},
        {L"[ab].*", "", "[ab].*"},
        {L"a.txt", "", "a.txt"},
        {L"sub/*", "sub", "*"},
        {L"sub\\d*", "sub", "d*"},
        {L"none*", "", "none*"},
        {L"sub\\none", "sub", "none"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(search(scratch.wide(c.given)), model(scratch.path(c.directory), c.pattern)) << c.given;
    EXPECT_EQ(search(scratch.wide(L"a.txt")), Names{"a.txt"});
    EXPECT_EQ(search(scratch.wide(L"nothing\\*")), Names{});
    EXPECT_EQ(search(scratch.wide(L"nothing\\")), Names{}); // an empty pattern
    EXPECT_EQ(search(L""), Names{});
    ASSERT_EQ(chdir(scratch.path("sub").c_str()), 0);
    EXPECT_EQ(search(L"deep*"), Names{"deep.txt"}); // in the working directory
    EXPECT_EQ(search(L"..\\*.txt"), model("..", "*.txt"));
    ASSERT_EQ(chdir("/"), 0);
    EXPECT_EQ(search(L"\\lib*"), model("/", "lib*")); // a pattern directly under the root
    EXPECT_EQ(search(L"\\"), model("/", "*"));
}

TEST(Find, ARecordHoldsTheRawModeAndTheTimes) {
    const Scratch scratch;
    const std::int64_t in_2040 = 2208988800; // later than a 32-bit time_t holds
    const std::string late = scratch.put("late");
    HANDLE late_file = scratch.open("late");
    const bool has_late_times = set_times(late, 1700000000, in_2040);
    scratch.put("file.dat", "0123456789", 0640);
    scratch.make_directory("directory", 0750);
    for (const char* name : {"file.dat", "directory"}) {
        WIN32_FIND_DATA found;
        memset(&found, 0x5A, sizeof found);
        std::wstring pattern = scratch.wide(name);
        pattern.back() = L'?';
        FindClose(FindFirstFile(pattern.c_str(), &found));
        const auto status = scratch.status(name);
        EXPECT_EQ(found.dwFileAttributes, status.st_mode);
        EXPECT_EQ(found.nFileSizeHigh, DWORD{0});
        EXPECT_EQ(found.nFileSizeLow, static_cast<DWORD>(status.st_size));
        EXPECT_EQ(ticks(found.ftCreationTime), ticks(status.st_ctime));
        EXPECT_EQ(ticks(found.ftLastAccessTime), ticks(status.st_atime));
        EXPECT_EQ(ticks(found.ftLastWriteTime), ticks(status.st_mtime));
    }
    if (!has_late_times)
        GTEST_SKIP() << "the file system keeps no later times";
    WIN32_FIND_DATA found = {};
    FindClose(FindFirstFile(scratch.wide("late").c_str(), &found));
    EXPECT_EQ(ticks(found.ftLastAccessTime), ticks(1700000000));
    EXPECT_EQ(ticks(found.ftLastWriteTime), ticks(in_2040));
    EXPECT_EQ(GetFileAttributes(scratch.wide("late").c_str()), DWORD{0x80000000});
    FILETIME write = {};
    EXPECT_TRUE(GetFileTime(late_file, nullptr, nullptr, &write));
    EXPECT_EQ(ticks(write), ticks(in_2040));
    CloseHandle(late_file);
}

TEST(Find, AMatchThatCannotBeLookedAtIsAnsweredWithFalseAndPassedByTheNextCall) {
    const Scratch scratch;
    const std::set<std::string> dangling = {"b", "d", "e"};
    for (const char* name : {"a", "c", "f"})
        scratch.put(name);
    for (const auto& name : dangling)
        ASSERT_EQ(symlink("nothing", scratch.path(name).c_str()), 0);
    EXPECT_EQ(search(scratch.wide(L"d")), Names{});
    HANDLE handle = FindFirstChangeNotification(scratch.wide().c_str(), FALSE, 0); // a search from the start
    for (const std::string& name : model(scratch.path(), "*")) {
        WIN32_FIND_DATA found = {};
        EXPECT_EQ(FindNextFile(handle, &found), dangling.count(name) == 0) << name;
        EXPECT_EQ(found.cFileName, dangling.count(name) == 0 ? std::wstring(name.begin(), name.end()) : L"");
    }
    EXPECT_EQ(rest_of(handle), Names{});
    EXPECT_TRUE(FindCloseChangeNotification(handle));
}

TEST(Find, FilesRemovedMeanwhileDoNotHideTheOthers) {
    const Scratch scratch;
    Names kept;
    for (int i = 0; i < 200; ++i)
        scratch.put("f" + std::to_string(i));
    WIN32_FIND_DATA found = {};
    HANDLE handle = FindFirstFile(scratch.wide(L"*").c_str(), &found);
    for (int i = 0; i < 200; ++i)
        if (i % 2 == 0)
            unlink(scratch.path("f" + std::to_string(i)).c_str());
        else
            kept.push_back("f" + std::to_string(i));
    Names seen = rest_of(handle);
    seen.emplace_back(found.cFileName, found.cFileName + wcslen(found.cFileName));
    std::sort(seen.begin(), seen.end());
    std::sort(kept.begin(), kept.end());
    EXPECT_TRUE(std::includes(seen.begin(), seen.end(), kept.begin(), kept.end()));
    FindClose(handle);
}

TEST(Find, AChangeNotificationIsASearchOfTheDirectory) {
    const Scratch scratch;
    scratch.make_directory("sub");
    scratch.put("sub/deep.txt");
    HANDLE handle = FindFirstChangeNotification(scratch.wide(L"sub\\").c_str(), TRUE, 0xFF);
    ASSERT_NE(handle, nullptr);
    EXPECT_TRUE(FindNextChangeNotification(handle));
    EXPECT_EQ(rest_of(handle), model(scratch.path("sub"), "*"));
    EXPECT_TRUE(FindCloseChangeNotification(handle));
}

TEST(Find, RefusesNullAndWhatIsNotThereAndLeavesTheLastErrorAlone) {
    WIN32_FIND_DATA found = {};
    SetLastError(99);
    EXPECT_EQ(FindFirstFile(nullptr, &found), INVALID_HANDLE_VALUE);
    EXPECT_EQ(FindFirstFile(L"\\*", nullptr), INVALID_HANDLE_VALUE);
    EXPECT_EQ(FindFirstFile(L"\\nothing like this", &found), INVALID_HANDLE_VALUE);
    EXPECT_TRUE(FindClose(INVALID_HANDLE_VALUE));
    EXPECT_EQ(FindFirstChangeNotification(L"\\nothing like this", FALSE, 0), nullptr);
    EXPECT_EQ(FindFirstChangeNotification(nullptr, FALSE, 0), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{99});
}
