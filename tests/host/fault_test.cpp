// The linker redirects the host's system calls to this file, which fails the one that a test asks for: the
// N-th, for N = 1, 2, 3 ... until a run meets no fault.
#include "tests/scratch.h"

#include <cerrno>
#include <functional>
#include <kalto/core.h>
#include <kalto/errors.h>
#include <kalto/host.h>
#include <kalto/kernel.h>
#include <set>

namespace {

std::string faulty; // the name of the call that fails, "any", or nothing
int calls_until_fault = 0;
int fault_error = EIO;
std::string met;        // where the fault happened
size_t short_write = 0; // what the next write takes at most, when not 0
bool at_border = false; // the next renaming would leave the file system
std::string host_name;
std::vector<uid_t> new_owners;

bool fails(const char* call) {
    if ((faulty != "any" && faulty != call) || --calls_until_fault != 0)
        return false;
    met = call;
    errno = fault_error;
    return true;
}

void fail_call(const std::string& call, int number, int error) {
    faulty = call;
    calls_until_fault = number;
    fault_error = error;
    met.clear();
}

} // namespace

#define REDIRECT(result, name, parameters)                                                                   \
    extern "C" result __real_##name parameters;                                                              \
    extern "C" result __wrap_##name parameters;                                                              \
    extern "C" result __wrap_##name parameters

#define FAULTY(result, name, parameters, arguments)                                                          \
    REDIRECT(result, name, parameters) {                                                                     \
        return fails(#name) ? -1 : __real_##name arguments;                                                  \
    }

FAULTY(ssize_t, read, (int file, void* data, size_t size), (file, data, size))
FAULTY(int, open64, (const char* path, int flags, mode_t mode), (path, flags, mode))
FAULTY(int, mkostemp64, (char* name, int flags), (name, flags))
FAULTY(int, fsync, (int file), (file))
FAULTY(int, unlink, (const char* path), (path))
REDIRECT(ssize_t, write, (int file, const void* data, size_t size)) {
    if (fails("write"))
        return -1;
    size_t limit = short_write != 0 ? short_write : size;
    short_write = 0;
    return __real_write(file, data, std::min(size, limit));
}
REDIRECT(int, close, (int file)) {
    int result = __real_close(file);
    return fails("close") ? -1 : result;
}
REDIRECT(int, rename, (const char* from, const char* to)) {
    if (at_border) {
        at_border = false;
        errno = EXDEV;
        return -1;
    }
    return fails("rename") ? -1 : __real_rename(from, to);
}
REDIRECT(int, sethostname, (const char* name, size_t length)) {
    host_name.assign(name, length);
    return fails("sethostname") ? -1 : 0;
}
REDIRECT(int, fchown, (int, uid_t user, gid_t)) {
    new_owners.push_back(user);
    return fails("fchown") ? -1 : 0;
}

namespace {

class HostFaults : public testing::Test, protected Scratch {
  protected:
    ~HostFaults() override { faulty.clear(); }

    // A fresh directory with "from" and, where asked, an old "to"; then the call, with its fault.
    BOOL run(bool old_target, const std::function<BOOL(LPCWSTR from, LPCWSTR to)>& call, int number,
             int error) {
        std::filesystem::remove_all(path());
        std::filesystem::create_directory(path());
        put("from", contents_);
        if (old_target)
            put("to", "old");
        fail_call("any", number, error);
        BOOL result = call(wide("from").c_str(), wide("to").c_str());
        faulty.clear();
        return result;
    }

    const std::string contents_ = std::string(40000, 'x') + "end";
};

} // namespace

TEST_F(HostFaults, ACopyThatFailsLeavesTheTargetAsItWas) {
    std::set<std::string> counted;
    for (bool old_target : {false, true})
        for (int number = 1; number == 1 || !met.empty(); number++) {
            ASSERT_LT(number, 60);
            auto copy = [](LPCWSTR from, LPCWSTR to) { return PTR_CopyFile(from, to, FALSE); };
            BOOL copied = run(old_target, copy, number, ENOSPC);
            SCOPED_TRACE(testing::Message() << "old target " << old_target << ", " << number << " " << met);
            EXPECT_EQ(get("to"), copied ? contents_ : old_target ? "old" : "-");
            EXPECT_EQ(names().size(), copied || old_target ? 2u : 1u);
            EXPECT_EQ(get("from"), contents_);
            EXPECT_TRUE(copied || GetLastError() == ENOSPC);
            if (!copied)
                counted.insert(met);
        }
    // The system may tell only at the end that data is lost; who may not give files away (fchown) copies.
    EXPECT_EQ(counted,
              (std::set<std::string>{"close", "fsync", "mkostemp64", "open64", "read", "rename", "write"}));
}

TEST_F(HostFaults, AMoveToAnotherFileSystemNeverLosesTheFile) {
    for (int number = 1; number == 1 || !met.empty(); number++) {
        ASSERT_LT(number, 60);
        at_border = true;
        BOOL moved = run(false, PTR_MoveFile, number, EIO);
        SCOPED_TRACE(testing::Message() << "fault " << number << " in " << met);
        EXPECT_EQ(get(moved ? "to" : "from"), contents_);
        // What was claimed of the new name may stay when it cannot be removed; a second copy never does.
        EXPECT_TRUE(names().size() == 1 || (!moved && met == "unlink" && get("to").empty()));
        EXPECT_TRUE(moved || !met.empty());
    }
    EXPECT_EQ(new_owners.back(), geteuid()) << "given to the owner of the file that was moved";
}

TEST_F(HostFaults, TransfersGoOnAfterAnInterruptionAndTellWhatReachedTheFile) {
    put("f", "0123456789");
    fail_call("open64", 1, EINTR);
    HANDLE file = open("f", GENERIC_READ | GENERIC_WRITE);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    char text[10];
    DWORD done = 0;
    fail_call("read", 1, EINTR);
    EXPECT_TRUE(PTR_ReadFile(file, text, 10, &done, nullptr));
    EXPECT_EQ(done, 10u);
    for (const int error : {EINTR, ENOSPC}) {
        fail_call("write", 2, error);
        short_write = 3;
        EXPECT_EQ(PTR_WriteFile(file, "abcdef", 6, &done, nullptr), error == EINTR);
        EXPECT_EQ(done, error == EINTR ? 6u : 3u);
    }
    EXPECT_EQ(GetLastError(), DWORD{ERROR_DISK_FULL});
    EXPECT_EQ(get("f"), "0123456789abcdefabc");
    CloseHandle(file);
}

TEST_F(HostFaults, NamesOfUserAndMachineTellTheRoomTheyNeed) {
    for (const auto& call : {PTR_GetUserName, PTR_GetHostName}) {
        DWORD needed = 0;
        EXPECT_FALSE(call(nullptr, &needed));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
        std::wstring name(needed, L'#');
        DWORD size = needed - 1;
        EXPECT_FALSE(call(&name[0], &size));
        EXPECT_EQ(size, needed);
        EXPECT_EQ(name, std::wstring(needed, L'#'));
        EXPECT_TRUE(call(&name[0], &size));
        EXPECT_EQ(size, call == PTR_GetUserName ? needed : needed - 1) << "the terminator counts";
        EXPECT_EQ(wcslen(name.c_str()), needed - 1);
    }
    EXPECT_TRUE(PTR_SetHostName(L"handheld-7 and more", 10));
    EXPECT_EQ(host_name, "handheld-7");
    fail_call("sethostname", 1, EPERM);
    EXPECT_FALSE(PTR_SetHostName(L"x", 1));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_PRIVILEGE_NOT_HELD});
    EXPECT_FALSE(PTR_SetHostName(L"a\0b", 3));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}
