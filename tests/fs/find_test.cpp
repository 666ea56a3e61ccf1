// Directory searches, against the directory as the system reads it.
#include "scratch.h"

#include <dirent.h>
#include <fnmatch.h>
#include <kalto/core.h>
#include <set>
#include <sys/syscall.h>
#include <vector>

namespace {

using Names = std::vector<std::string>;

std::string narrow(const wchar_t* wide) {
    return std::string(wide, wide + wcslen(wide));
}

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

Names search(const std::wstring& pattern) {
    Names names;
    WIN32_FIND_DATA found = {};
    HANDLE handle = FindFirstFile(pattern.c_str(), &found);
    if (handle == INVALID_HANDLE_VALUE)
        return names;
    do
        names.push_back(narrow(found.cFileName));
    while (FindNextFile(handle, &found));
    EXPECT_TRUE(FindClose(handle));
    return names;
}

TEST(Find, ListsWhatMatchesInTheOrderOfTheDirectory) {
    const Scratch scratch;
    for (const char* name : {"a.txt", "b.txt", ".hidden.txt", "noext", "c.TXT", "[x]", "with space.txt"})
        scratch.file(name);
    scratch.directory("sub");
    scratch.file("sub/deep.txt");
    const struct {
        const wchar_t* given;
        const char *directory, *pattern;
    } cases[] = {
        {L"", "", "*"},          {L"sub", "sub", "*"},          {L"sub\\//", "sub", "*"},
        {L"*", "", "*"},         {L"*.txt", "", "*.txt"},       {L"*.*", "", "*.*"},
        {L"?.txt", "", "?.txt"}, {L"[ab].*", "", "[ab].*"},     {L"a.txt", "", "a.txt"},
        {L"sub/*", "sub", "*"},  {L"sub\\d*", "sub", "d*"},     {L".*", "", ".*"},
        {L"none*", "", "none*"}, {L"sub\\none", "sub", "none"},
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
    EXPECT_EQ(search(L"\\lib"), model("/lib", "*"));
    EXPECT_EQ(search(L"\\lib*"), model("/", "lib*")); // a pattern directly under the root
    EXPECT_EQ(search(L"\\"), model("/", "*"));
}

TEST(Find, ARecordHoldsTheRawModeAndTheTimes) {
    const Scratch scratch;
    const std::string path = scratch.file("file.dat", "0123456789", 0640);
    scratch.directory("directory", 0750);
    for (const wchar_t* name : {L"file.dat", L"director?"}) {
        WIN32_FIND_DATA found;
        memset(&found, 0x5A, sizeof found);
        HANDLE handle = FindFirstFile(scratch.wide(name).c_str(), &found);
        ASSERT_NE(handle, INVALID_HANDLE_VALUE);
        const auto status = status_of(scratch.path(narrow(found.cFileName)));
        EXPECT_EQ(found.dwFileAttributes, status.st_mode);
        EXPECT_EQ(found.nFileSizeHigh, DWORD{0});
        EXPECT_EQ(found.nFileSizeLow, static_cast<DWORD>(status.st_size));
        EXPECT_EQ(ticks(found.ftCreationTime), ticks(status.st_ctime));
        EXPECT_EQ(ticks(found.ftLastAccessTime), ticks(status.st_atime));
        EXPECT_EQ(ticks(found.ftLastWriteTime), ticks(status.st_mtime));
        EXPECT_FALSE(FindNextFile(handle, &found));
        EXPECT_FALSE(FindNextFile(handle, &found)); // the end stays the end
        FindClose(handle);
    }
}

// Sets both times of a file; beyond the platform's time_t, too.
bool set_times(const std::string& path, std::int64_t seconds) {
    const std::int64_t times[4] = {seconds, 0, seconds, 0};
#ifdef SYS_utimensat_time64
    return syscall(SYS_utimensat_time64, AT_FDCWD, path.c_str(), times, 0) == 0;
#else
    return syscall(SYS_utimensat, AT_FDCWD, path.c_str(), times, 0) == 0;
#endif
}

TEST(Find, AFileOfALaterTimeThanTimeTHoldsIsSeenWithIt) {
    const Scratch scratch;
    const std::string path = scratch.file("f");
    HANDLE file = scratch.open_file(L"f");
    const std::int64_t in_2040 = 2208988800;
    if (!set_times(path, in_2040))
        GTEST_SKIP() << "the file system keeps no such times";
    WIN32_FIND_DATA found = {};
    FindClose(FindFirstFile(scratch.wide(L"f").c_str(), &found));
    EXPECT_EQ(ticks(found.ftLastWriteTime), ticks(in_2040));
    EXPECT_EQ(GetFileAttributes(scratch.wide(L"f").c_str()), DWORD{0x80000000});
    FILETIME access = {}, write = {};
    EXPECT_TRUE(GetFileTime(file, nullptr, &access, &write));
    EXPECT_EQ(ticks(access), ticks(in_2040));
    EXPECT_EQ(ticks(write), ticks(in_2040));
    CloseHandle(file);
}

TEST(Find, AMatchThatCannotBeLookedAtIsAnsweredWithFalseAndPassedByTheNextCall) {
    const Scratch scratch;
    const std::set<std::string> dangling = {"b", "d", "e"};
    for (const char* name : {"a", "c", "f"})
        scratch.file(name);
    for (const auto& name : dangling)
        ASSERT_EQ(symlink("nothing", scratch.path(name).c_str()), 0);
    EXPECT_EQ(search(scratch.wide(L"d")), Names{});
    WIN32_FIND_DATA found = {};
    HANDLE handle = FindFirstFile(scratch.wide(L"*").c_str(), &found); // "." or "..", or a file
    const Names order = model(scratch.path(), "*");
    if (dangling.count(order[0]) != 0) {
        EXPECT_EQ(handle, INVALID_HANDLE_VALUE);
        return;
    }
    for (std::size_t i = 1; i < order.size(); ++i) {
        const bool seen = FindNextFile(handle, &found) != FALSE;
        EXPECT_EQ(seen, dangling.count(order[i]) == 0) << order[i];
        if (seen) {
            EXPECT_EQ(narrow(found.cFileName), order[i]);
        }
    }
    EXPECT_FALSE(FindNextFile(handle, &found));
    FindClose(handle);
}

TEST(Find, FilesRemovedMeanwhileDoNotHideTheOthers) {
    const Scratch scratch;
    for (int i = 0; i < 200; ++i)
        scratch.file("f" + std::to_string(i));
    WIN32_FIND_DATA found = {};
    HANDLE handle = FindFirstFile(scratch.wide(L"f*").c_str(), &found);
    ASSERT_NE(handle, INVALID_HANDLE_VALUE);
    std::set<std::string> seen = {narrow(found.cFileName)};
    for (int i = 0; i < 200; i += 2)
        unlink(scratch.path("f" + std::to_string(i)).c_str());
    while (FindNextFile(handle, &found))
        seen.insert(narrow(found.cFileName));
    FindClose(handle);
    for (int i = 1; i < 200; i += 2)
        EXPECT_EQ(seen.count("f" + std::to_string(i)), 1u) << i;
}

TEST(Find, RefusesNull) {
    WIN32_FIND_DATA found = {};
    SetLastError(99);
    EXPECT_EQ(FindFirstFile(nullptr, &found), INVALID_HANDLE_VALUE);
    EXPECT_EQ(FindFirstFile(L"\\*", nullptr), INVALID_HANDLE_VALUE);
    EXPECT_EQ(FindFirstFile(L"\\nothing like this", &found), INVALID_HANDLE_VALUE);
    EXPECT_TRUE(FindClose(INVALID_HANDLE_VALUE));
    EXPECT_EQ(GetLastError(), DWORD{99});
}

TEST(Find, AChangeNotificationIsASearchOfTheDirectory) {
    const Scratch scratch;
    scratch.directory("sub");
    scratch.file("sub/deep.txt");
    HANDLE handle = FindFirstChangeNotification(scratch.wide(L"sub\\").c_str(), TRUE, 0xFF);
    ASSERT_NE(handle, nullptr);
    EXPECT_TRUE(FindNextChangeNotification(handle));
    WIN32_FIND_DATA found = {};
    Names names;
    while (FindNextFile(handle, &found))
        names.push_back(narrow(found.cFileName));
    EXPECT_EQ(names, model(scratch.path("sub"), "*"));
    EXPECT_TRUE(FindCloseChangeNotification(handle));
    EXPECT_EQ(FindFirstChangeNotification(scratch.wide(L"nothing").c_str(), FALSE, 0), nullptr);
    EXPECT_EQ(FindFirstChangeNotification(nullptr, FALSE, 0), nullptr);
}

} // namespace
