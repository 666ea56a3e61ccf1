// Directories, deleting, copying and moving, where nothing goes wrong but the request.
#include "tests/host/sandbox.h"

#include <kalto/core.h>
#include <kalto/errors.h>
#include <kalto/fs.h>
#include <unistd.h>

namespace {

class HostDirectory : public Sandbox {
  protected:
    void expect_failure(BOOL result, DWORD error) {
        EXPECT_FALSE(result);
        EXPECT_EQ(GetLastError(), error);
    }
};

} // namespace

TEST_F(HostDirectory, IsMadeAndRemoved) {
    EXPECT_TRUE(CreateDirectory(windows("d").c_str(), nullptr));
    EXPECT_TRUE(CreateDirectory(windows("d/e/").c_str(), nullptr));
    expect_failure(CreateDirectory(windows("d").c_str(), nullptr), ERROR_ALREADY_EXISTS);
    expect_failure(CreateDirectory(windows("x/y").c_str(), nullptr), ENOENT);
    expect_failure(RemoveDirectory(windows("d").c_str()), ERROR_DIR_NOT_EMPTY);
    expect_failure(DeleteFile(windows("d/e").c_str()), EISDIR);
    EXPECT_TRUE(RemoveDirectory(windows("d/e").c_str()));
    chmod(path("d").c_str(), 0555);
    expect_failure(RemoveDirectory(windows("d").c_str()), ERROR_ACCESS_DENIED);
    chmod(path("d").c_str(), 0755);
    EXPECT_TRUE(RemoveDirectory(windows("d").c_str()));
    expect_failure(RemoveDirectory(windows("d").c_str()), ERROR_FILE_NOT_FOUND);
}

TEST_F(HostDirectory, LosesFilesOnlyWhenTheyMayGo) {
    put("f", "text");
    put("fixed", "text", 0444);
    EXPECT_TRUE(DeleteFile(windows("f").c_str()));
    expect_failure(DeleteFile(windows("f").c_str()), ERROR_FILE_NOT_FOUND);
    expect_failure(DeleteFile(windows("fixed").c_str()), ERROR_ACCESS_DENIED);
    expect_failure(RemoveDirectory(windows("fixed").c_str()), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(names(), Names{"fixed"});
}

TEST_F(HostDirectory, CopiesContentsPermissionsAndTime) {
    std::string large(100000, 'x');
    put("from", large, 0640);
    const timespec times[2] = {{1000, 0}, {2000, 0}};
    utimensat(AT_FDCWD, path("from").c_str(), times, 0);
    put("old", "old");
    for (const char* target : {"new", "old"}) {
        EXPECT_TRUE(CopyFile(windows("from").c_str(), windows(target).c_str(), FALSE));
        EXPECT_EQ(get(target), large);
        EXPECT_EQ(mode(target), mode_t{0640});
        struct stat status = {};
        stat(path(target).c_str(), &status);
        EXPECT_EQ(status.st_mtime, 2000);
    }
    EXPECT_TRUE(CopyFile(windows("from").c_str(), windows("third").c_str(), TRUE));
    EXPECT_EQ(names(), (Names{"from", "new", "old", "third"}));
}

TEST_F(HostDirectory, CopiesThroughALinkToItsFile) {
    put("from", "new");
    put("file", "old");
    ASSERT_EQ(symlink("file", path("link").c_str()), 0);
    EXPECT_TRUE(CopyFile(windows("from").c_str(), windows("link").c_str(), FALSE));
    EXPECT_TRUE(std::filesystem::is_symlink(path("link")));
    EXPECT_EQ(get("file"), "new");
    EXPECT_TRUE(CopyFile(windows("from").c_str(), L"\\dev\\null", FALSE));
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST_F(HostDirectory, CopiesOverNothingThatMustStay) {
    put("from", "new");
    put("there", "old");
    put("fixed", "old", 0444);
    std::filesystem::create_directory(path("d"));
    auto copy = [this](const char* from, const char* to, BOOL fail_if_exists = FALSE) {
        return CopyFile(windows(from).c_str(), windows(to).c_str(), fail_if_exists);
    };
    expect_failure(copy("from", "there", TRUE), ERROR_FILE_EXISTS);
    expect_failure(copy("from", "fixed"), ERROR_ACCESS_DENIED);
    expect_failure(copy("from", "d"), EISDIR);
    expect_failure(copy("d", "new"), EISDIR);
    expect_failure(copy("from", "from"), ERROR_SHARING_VIOLATION);
    expect_failure(copy("missing", "there"), ERROR_FILE_NOT_FOUND);
    expect_failure(copy("from", "x/y"), ENOENT);
    EXPECT_EQ(get("from") + get("there") + get("fixed"), "newoldold");
    EXPECT_EQ(names(), (Names{"d", "fixed", "from", "there"}));
}

TEST_F(HostDirectory, MovesFilesAndDirectoriesToFreeNames) {
    put("f", "text", 0444);
    std::filesystem::create_directories(path("d/inner"));
    auto move = [this](const char* from, const char* to) {
        return MoveFile(windows(from).c_str(), windows(to).c_str());
    };
    EXPECT_TRUE(move("f", "d/g"));
    EXPECT_EQ(get("d/g"), "text");
    EXPECT_TRUE(move("d", "e"));
    EXPECT_TRUE(move("e/g", "e/g"));
    put("there", "old");
    expect_failure(move("e/g", "there"), ERROR_ALREADY_EXISTS);
    expect_failure(move("e", "there"), ERROR_ALREADY_EXISTS);
    expect_failure(move("there", "e"), ERROR_ALREADY_EXISTS);
    expect_failure(move("missing", "new"), ERROR_FILE_NOT_FOUND);
    expect_failure(move("e", "e/inner/below"), ERROR_INVALID_PARAMETER);
    expect_failure(move("there", "x/y"), ENOENT);
    ASSERT_EQ(link(path("there").c_str(), path("twin").c_str()), 0);
    expect_failure(move("there", "twin"), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(names(), (Names{"e", "there", "twin"}));
    EXPECT_TRUE(std::filesystem::is_empty(path("e/inner")));
    EXPECT_EQ(get("e/g") + get("there"), "textold");
}
