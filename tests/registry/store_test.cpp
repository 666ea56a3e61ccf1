// The registry file: made, loaded, reloaded, replaced, and saved.
#include "sandbox.h"
#include "tests/fs/times.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr wchar_t kLight[] = L"Software\\Velmoran\\Lumetra\\LMQ\\States\\Ready to Work";

// The files of devices in the field must stay the same byte for byte, so the text is known by its sum.
void expect_skeleton(const std::string& text) {
    uint32_t sum = 2166136261u;
    for (char c : text)
        sum = (sum ^ static_cast<unsigned char>(c)) * 16777619u;
    EXPECT_EQ(text.size(), 640u) << text;
    EXPECT_EQ(sum, 3552264830u) << text;
}

class Store : public Sandbox {};

TEST_F(Store, MissingFileBecomesTheSkeletonAndIsReadable) {
    const mode_t mask = umask(002);
    HKEY key = open_key(kLight);
    umask(mask);
    EXPECT_EQ(get_string(key, L"Light"), L"255");
    EXPECT_EQ(RegCloseKey(key), 0);
    expect_skeleton(read());
    struct stat status;
    ASSERT_EQ(stat(path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0664u);
    EXPECT_EQ(g_stRegFileStats.st_ino, status.st_ino);
    EXPECT_TRUE(g_log.empty());
}

TEST_F(Store, BrokenFileIsLoggedAndReplacedByTheSkeleton) {
    write("<Registry><k Name=\"a\">");
    EXPECT_NE(open_key(kLight), nullptr);
    expect_skeleton(read());
    EXPECT_EQ(g_log,
              std::vector<std::string>{"3: Registry corrupt: g_pVurlDOM.ReadDoc failed for file " + path() +
                                       ", file size: 22, read size: 22, reloading skeleton registry"});
}

TEST_F(Store, FileThatCannotBeOpenedGivesTwoAndIsLeftAlone) {
    ASSERT_EQ(mkdir(path().c_str(), 0755), 0);
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyEx(HKEY_LOCAL_MACHINE, L"Software", 0, KEY_READ, &key), 2);
    EXPECT_EQ(g_log, std::vector<std::string>{"3: reg file open error for " + path()});
    rmdir(path().c_str());
    EXPECT_NE(open_key(kLight), nullptr) << "the next call tries again";
}

TEST_F(Store, PendingFileReplacesTheRegistryOnlyIfItIsWhole) {
    EXPECT_EQ(VerifyRegistry(nullptr), 0);
    EXPECT_EQ(VerifyRegistry(path().c_str()), 0);
    write_registry("<k Name='HKEY_LOCAL_MACHINE'><v Name='n' value='1' type='REG_DWORD'/></k>");
    EXPECT_NE(VerifyRegistry(path().c_str()), 0);
    write("<Registry><k Name='HKEY_LOCAL_MACHINE'><v Name='n' value='2' type='REG_DWORD'/></k></Registry>",
          kPending);
    EXPECT_EQ(get_number(HKEY_LOCAL_MACHINE, L"n"), 2);
    write("<Registry><k Name='HKEY_LOCAL_MACHINE'><v Name='n'", kPending);
    EXPECT_EQ(get_number(HKEY_LOCAL_MACHINE, L"n"), 2);
    EXPECT_FALSE(exists(kPending));
    EXPECT_EQ(g_log, (std::vector<std::string>{"3: VerifyRegistry: Invalid path",
                                               "3: Failed to open \"" + path() + "\" for verification. 2",
                                               "3: ReadDoc failed! Not updating registry (size: 50)"}));
}

// Writes one number into the file as another process would, at the given time.
void write_outside(const Store& store, int number, time_t seconds, long nanoseconds) {
    store.write_registry("<k Name='HKEY_LOCAL_MACHINE'><v Name='n' value='" + std::to_string(number) +
                         "' type='REG_DWORD'/></k>");
    store.set_time(seconds, nanoseconds);
}

TEST_F(Store, OnlyALaterTimeMakesTheFileReadAgain) {
    const struct {
        time_t seconds;
        long nanoseconds;
        int read; // of the numbers written, the first of which is 0
    } cases[] = {{1000, 500, 0}, {1000, 500, 0}, {999, 900, 0}, {1000, 501, 3}, {1001, 0, 4}};
    for (const auto& c : cases) {
        write_outside(*this, static_cast<int>(&c - cases), c.seconds, c.nanoseconds);
        EXPECT_EQ(get_number(HKEY_LOCAL_MACHINE, L"n"), c.read);
    }
}

TEST_F(Store, WhatIsInUseIsNotReplacedByWhatOthersSaved) {
    write_outside(*this, 1, 1000, 0);
    HKEY key = open_key(L"");
    write_outside(*this, 2, 1000, 1);
    EXPECT_EQ(number_at(L"", L"n"), 1);
    EXPECT_EQ(RegCloseKey(key), 0);
    EXPECT_EQ(number_at(L"", L"n"), 2) << "closing without changes is not a save";
    EXPECT_TRUE(g_log.empty());
    EXPECT_EQ(RegCloseKey(HKEY_LOCAL_MACHINE), 0);
    write_outside(*this, 3, 2000, 0);
    EXPECT_EQ(get_number(HKEY_LOCAL_MACHINE, L"n"), 2) << "the count is below zero";
    EXPECT_EQ(g_log,
              std::vector<std::string>{"3: can't replace log buffer from file because handles are open"});
    const std::string before = read();
    EXPECT_EQ(set_number(HKEY_LOCAL_MACHINE, L"n", 4), 0);
    EXPECT_EQ(read(), before) << "below zero is not zero";
}

// A clock was wrong once: what the platform's times cannot express must not lock everybody out.
TEST_F(Store, FileFromAfterTheEndOfTimeIsReadAndSaved) {
    write_outside(*this, 1, 1000, 0);
    if (!set_times(path(), 2300000000, 2300000000))
        GTEST_SKIP() << "the system has no such times";
    EXPECT_EQ(get_number(HKEY_LOCAL_MACHINE, L"n"), 1);
    EXPECT_EQ(set_number(HKEY_LOCAL_MACHINE, L"n", 2), 0);
    EXPECT_EQ(in_child([] { return static_cast<int>(get_number(HKEY_LOCAL_MACHINE, L"n")); }), 2);
    const std::string told = "3: time of file " + path() + " is out of range, set to the present";
    EXPECT_EQ(g_log, std::vector<std::string>(sizeof(time_t) == 4 ? 1 : 0, told));
}

TEST_F(Store, SavedFileIsLaterThanTheOneItReplaces) {
    const time_t future = time(nullptr) + 100000;
    write_outside(*this, 1, future, 999999999);
    EXPECT_EQ(set_number(HKEY_LOCAL_MACHINE, L"n", 5), 0);
    struct stat status;
    ASSERT_EQ(stat(path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mtim.tv_sec, future + 1);
    EXPECT_EQ(status.st_mtim.tv_nsec, 0);
    EXPECT_EQ(g_stRegFileStats.st_mtim.tv_sec, future + 1) << "its own save is no change from outside";
    EXPECT_FALSE(exists(kPending));
}

TEST_F(Store, NothingIsWrittenWhileAKeyIsOpenOrNothingChanged) {
    write_outside(*this, 1, 1000, 0);
    const std::string before = read();
    HKEY key = open_key(L"");
    EXPECT_EQ(set_number(key, L"n", 0x12345), 0);
    EXPECT_EQ(read(), before);
    write(std::string(100000, 'x'), kPending); // longer than what is about to be written there
    EXPECT_EQ(RegCloseKey(key), 0);
    EXPECT_NE(read().find("<v Name=\"n\" value=\"12345\" type=\"REG_DWORD\"/>"), std::string::npos);
    EXPECT_EQ(read().find("xxx"), std::string::npos);
    struct stat saved;
    struct stat later;
    ASSERT_EQ(stat(path().c_str(), &saved), 0);
    EXPECT_EQ(number_at(L"", L"n"), 0x12345);
    ASSERT_EQ(stat(path().c_str(), &later), 0);
    EXPECT_EQ(saved.st_ino, later.st_ino);
}

} // namespace
