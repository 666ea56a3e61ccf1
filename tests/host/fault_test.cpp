// The linker redirects the host's system calls to this file, which fails the one that a test asks for: the
// N-th, for N = 1, 2, 3 ... until a run meets no fault.
#include "tests/host/sandbox.h"

#include <cerrno>
#include <kalto/core.h>
#include <kalto/errors.h>
#include <kalto/fs.h>
#include <kalto/host.h>
#include <kalto/kernel.h>
#include <unistd.h>

namespace {

enum class Call { kNone, kRead, kWrite, kOpen, kTemporary, kFsync, kClose, kRename, kUnlink, kChown, kAny };

Call faulty = Call::kNone;
int calls_until_fault = 0;
int fault_error = EIO;
int short_write = 0; // what the next write takes at most, when not 0
std::string host_name;
std::vector<uid_t> new_owners;
Call met = Call::kNone; // where the fault happened
bool at_border = false; // the next renaming would leave the file system

bool fails(Call call) {
    if (faulty == Call::kNone || (faulty != Call::kAny && faulty != call) || --calls_until_fault != 0)
        return false;
    met = call;
    errno = fault_error;
    return true;
}

void fail_call(Call call, int number, int error) {
    faulty = call;
    calls_until_fault = number;
    fault_error = error;
    met = Call::kNone;
}

} // namespace

#define REDIRECT(result, name, parameters)                                                                   \
    extern "C" result __real_##name parameters;                                                              \
    extern "C" result __wrap_##name parameters;                                                              \
    extern "C" result __wrap_##name parameters

#define FAULTY(call, result, name, parameters, arguments)                                                    \
    REDIRECT(result, name, parameters) {                                                                     \
        return fails(call) ? -1 : __real_##name arguments;                                                   \
    }

FAULTY(Call::kRead, ssize_t, read, (int file, void* data, size_t size), (file, data, size))
FAULTY(Call::kOpen, int, open64, (const char* path, int flags, mode_t mode), (path, flags, mode))
FAULTY(Call::kTemporary, int, mkostemp64, (char* name, int flags), (name, flags))
FAULTY(Call::kFsync, int, fsync, (int file), (file))
FAULTY(Call::kUnlink, int, unlink, (const char* path), (path))
REDIRECT(ssize_t, write, (int file, const void* data, size_t size)) {
    if (fails(Call::kWrite))
        return -1;
    size_t limit = short_write != 0 ? static_cast<size_t>(short_write) : size;
    short_write = 0;
    return __real_write(file, data, std::min(size, limit));
}
REDIRECT(int, close, (int file)) {
    int result = __real_close(file);
    return fails(Call::kClose) ? -1 : result;
}
REDIRECT(int, rename, (const char* from, const char* to)) {
    if (at_border) {
        at_border = false;
        errno = EXDEV;
        return -1;
    }
    return fails(Call::kRename) ? -1 : __real_rename(from, to);
}
REDIRECT(int, sethostname, (const char* name, size_t length)) {
    host_name.assign(name, length);
    return fails(Call::kAny) ? -1 : 0;
}
REDIRECT(int, fchown, (int, uid_t user, gid_t)) {
    new_owners.push_back(user);
    return fails(Call::kChown) ? -1 : 0;
}

namespace {

class HostFaults : public Sandbox {
  protected:
    HostFaults() { SetLastError(NO_ERROR); }
    ~HostFaults() override { faulty = Call::kNone; }

    // A fresh directory with "from" and, where asked, an old "to"; the fault; then the call.
    BOOL run(bool old_target, const std::function<BOOL()>& call, Call fault, int number, int error) {
        std::filesystem::remove_all(root_);
        std::filesystem::create_directory(root_);
        put("from", contents_);
        if (old_target)
            put("to", "old");
        fail_call(fault, number, error);
        BOOL result = call();
        faulty = Call::kNone;
        return result;
    }
    BOOL copy() { return PTR_CopyFile(windows("from").c_str(), windows("to").c_str(), FALSE); }
    BOOL copy_new() { return PTR_CopyFile(windows("from").c_str(), windows("to").c_str(), TRUE); }
    BOOL move() { return PTR_MoveFile(windows("from").c_str(), windows("to").c_str()); }

    const std::string contents_ = std::string(40000, 'x') + "end";
};

} // namespace

TEST_F(HostFaults, ACopyThatFailsLeavesTheTargetAsItWas) {
    const std::function<BOOL()> calls[] = {[this] { return copy(); }, [this] { return copy_new(); }};
    for (bool old_target : {false, true})
        for (const auto& call : calls)
            for (int number = 1;; number++) {
                ASSERT_LT(number, 60);
                bool refused = old_target && &call == &calls[1];
                BOOL copied = run(old_target, call, Call::kAny, number, ENOSPC);
                testing::Message which;
                which << "old target " << old_target << ", fault " << number << ", last error "
                      << GetLastError();
                EXPECT_EQ(get("to"), copied ? contents_ : old_target ? "old" : "-") << which;
                EXPECT_EQ(names().size(), copied || old_target ? 2u : 1u) << which;
                EXPECT_EQ(get("from"), contents_) << which;
                EXPECT_TRUE(copied || refused || met != Call::kChown)
                    << which << ": who may not give files away copies";
                if (!copied && !refused) {
                    EXPECT_EQ(GetLastError(), DWORD{ENOSPC}) << which;
                }
                if (met == Call::kNone) {
                    EXPECT_EQ(copied, !refused);
                    break;
                }
            }
}

TEST_F(HostFaults, AMoveToAnotherFileSystemNeverLosesTheFile) {
    for (int number = 1; number < 60; number++) {
        at_border = true;
        BOOL moved = run(
            false, [this] { return move(); }, Call::kAny, number, EIO);
        testing::Message which;
        which << "fault " << number << ", last error " << GetLastError();
        EXPECT_EQ(get(moved ? "to" : "from"), contents_) << which;
        // What cannot be removed stays, and is said to.
        EXPECT_TRUE(names().size() == 1 || (!moved && met == Call::kUnlink)) << which;
        if (met == Call::kNone) {
            EXPECT_TRUE(moved && !at_border);
            EXPECT_EQ(new_owners.back(), geteuid()) << "given to the owner of the file that was moved";
            return;
        }
    }
    FAIL() << "no end of faults";
}

TEST_F(HostFaults, AnInterruptedTransferGoesOn) {
    put("f", "0123456789");
    HANDLE file = PTR_CreateFile(wide("f").c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                 0, nullptr);
    char text[10];
    DWORD done = 0;
    fail_call(Call::kRead, 1, EINTR);
    EXPECT_TRUE(PTR_ReadFile(file, text, 10, &done, nullptr));
    EXPECT_EQ(done, 10u);
    fail_call(Call::kWrite, 2, EINTR);
    short_write = 3;
    EXPECT_TRUE(PTR_WriteFile(file, "abcdef", 6, &done, nullptr));
    EXPECT_EQ(done, 6u);
    EXPECT_EQ(get("f"), "0123456789abcdef");
    CloseHandle(file);
    fail_call(Call::kOpen, 1, EINTR);
    file = PTR_CreateFile(wide("f").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_NE(file, INVALID_HANDLE_VALUE);
    CloseHandle(file);
}

TEST_F(HostFaults, AShortWriteIsReportedWithWhatReachedTheFile) {
    HANDLE file = PTR_CreateFile(wide("f").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
    DWORD done = 0;
    short_write = 3;
    fail_call(Call::kWrite, 2, ENOSPC);
    EXPECT_FALSE(PTR_WriteFile(file, "abcdef", 6, &done, nullptr));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_DISK_FULL});
    EXPECT_EQ(done, 3u);
    EXPECT_EQ(get("f"), "abc");
    CloseHandle(file);
}

TEST_F(HostFaults, NamesOfUserAndMachineTellTheRoomTheyNeed) {
    struct {
        BOOL (*call)(LPWSTR, LPDWORD);
        DWORD counted; // the terminator, in the length of a stored name
    } const cases[] = {{PTR_GetUserName, 1}, {PTR_GetHostName, 0}};
    for (const auto& test : cases) {
        DWORD needed = 0;
        EXPECT_FALSE(test.call(nullptr, &needed));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
        ASSERT_GT(needed, 1u);
        std::wstring name(needed, L'#');
        DWORD size = needed - 1;
        EXPECT_FALSE(test.call(&name[0], &size));
        EXPECT_EQ(size, needed);
        EXPECT_EQ(name, std::wstring(needed, L'#'));
        EXPECT_TRUE(test.call(&name[0], &size));
        EXPECT_EQ(size, needed - 1 + test.counted);
        EXPECT_EQ(wcslen(name.c_str()), needed - 1);
    }
}

TEST_F(HostFaults, TheMachinesNameIsSetToTheCharactersCounted) {
    EXPECT_TRUE(PTR_SetHostName(L"handheld-7 and more", 10));
    EXPECT_EQ(host_name, "handheld-7");
    fail_call(Call::kAny, 1, EPERM);
    EXPECT_FALSE(PTR_SetHostName(L"x", 1));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_PRIVILEGE_NOT_HELD});
    EXPECT_FALSE(PTR_SetHostName(L"a\0b", 3));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}
