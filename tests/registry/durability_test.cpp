// Whatever happens during a save, the file holds the old registry or the new one, whole.
#include "faults.h"
#include "sandbox.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <semaphore.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

class Durability : public Sandbox {
  protected:
    Durability() {
        write_registry("<k Name='HKEY_LOCAL_MACHINE'>\n<v Name='n' value='1' type='REG_DWORD'/>\n"
                       "<v Name='other' value='1' type='REG_DWORD'/>\n</k>");
        // A time to come: every save must then also move its own file's time.
        set_time(time(nullptr) + 1000, 0);
    }
    // What a process that starts now reads.
    static int fresh(const wchar_t* name) {
        return in_child([&] { return static_cast<int>(number_at(L"", name)); });
    }
};

LONG write_number(const wchar_t* name, DWORD number) {
    HKEY key = nullptr;
    LONG error = RegCreateKeyEx(HKEY_LOCAL_MACHINE, L"", 0, nullptr, 0, 0, nullptr, &key, nullptr);
    if (error == ERROR_SUCCESS) {
        error = set_number(key, name, number);
        RegCloseKey(key);
    }
    return error;
}

TEST_F(Durability, KilledAtAnyCallTheRegistryIsOldOrNew) {
    int call = 0;
    int status = -SIGKILL;
    int value = 1;
    while (status == -SIGKILL) {
        ++call;
        status = in_child([&] {
            inject(Fault::kill, call);
            write_number(L"n", static_cast<DWORD>(value + 1));
            return 0;
        });
        const int read_back = fresh(L"n");
        EXPECT_TRUE(read_back == value || read_back == value + 1)
            << "killed at call " << call << ": " << read_back;
        EXPECT_EQ(fresh(L"other"), 1);
        value = read_back;
    }
    EXPECT_EQ(status, 0);
    EXPECT_GT(call, 15) << "the faults did not reach the store's calls";
}

struct Case {
    const char* name;
    Fault fault;
    int error;
};

TEST_F(Durability, FaultAtAnyCallLeavesAWholeRegistryAndALaterSaveSucceeds) {
    const Case cases[] = {{"no space", Fault::fail, ENOSPC},
                          {"input/output error", Fault::fail, EIO},
                          {"interrupted", Fault::fail, EINTR},
                          {"short write", Fault::half, 0},
                          {"full from then on", Fault::fail_forever, ENOSPC}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        bool reached = true;
        for (int call = 1; reached && !HasFailure(); ++call) {
            SCOPED_TRACE("at call " + std::to_string(call));
            write_registry("<k Name='HKEY_LOCAL_MACHINE'>\n<v Name='n' value='1' type='REG_DWORD'/>\n</k>");
            const int status = in_child([&] {
                inject(c.fault, call, c.error);
                const LONG error = write_number(L"n", 2);
                const bool hit = heal();
                const int stored = fresh(L"n");
                EXPECT_TRUE(stored == 1 || stored == 2) << stored;
                EXPECT_TRUE(stored == 2 || !g_log.empty()) << "a failed save was not logged";
                EXPECT_EQ(write_number(L"other", 3), 0);
                EXPECT_EQ(fresh(L"other"), 3) << "the later save";
                EXPECT_EQ(fresh(L"n"), error == ERROR_SUCCESS ? 2 : 1);
                EXPECT_FALSE(exists(kPending));
                return hit ? 1 : 0;
            });
            ASSERT_TRUE(status == 0 || status == 1) << status;
            reached = status == 1;
        }
    }
}

TEST_F(Durability, FaultWhileTheSkeletonIsMadeIsReportedAndDoesNotLoop) {
    bool reached = true;
    for (int call = 1; reached && !HasFailure(); ++call) {
        unlink(path().c_str());
        reached = in_child([&] {
                      inject(Fault::fail_forever, call, ENOSPC);
                      const LONG error = write_number(L"n", 2);
                      const bool hit = heal();
                      EXPECT_TRUE(error == 0 || error == 2 || error == 1016) << error;
                      EXPECT_EQ(write_number(L"n", 3), 0);
                      return hit ? 1 : 0;
                  }) == 1;
        EXPECT_EQ(fresh(L"n"), 3);
    }
}

// A thread that is cancelled inside a call gives the lock back and loses nothing that its process wrote.
TEST_F(Durability, CancelledThreadLeavesTheLockFree) {
    bool reached = true;
    for (int call = 1; reached && !HasFailure(); ++call) {
        const int status = in_child([&] {
            alarm(30);
            LONG error = -1;
            std::thread([&] {
                inject(Fault::cancel, call);
                error = write_number(L"n", 2);
            }).join();
            const bool hit = heal();
            EXPECT_EQ(write_number(L"other", 3), 0);
            EXPECT_EQ(get_number(HKEY_LOCAL_MACHINE, L"other"), 3);
            return hit ? 1 : 0;
        });
        ASSERT_TRUE(status == 0 || status == 1) << "at call " << call << ": " << status;
        reached = status == 1;
    }
}

// Runs the work in four processes at once, each with its number; each must return true.
void run_processes(const std::function<bool(int)>& work) {
    std::vector<pid_t> children;
    for (int number = 0; number < 4; ++number) {
        children.push_back(fork());
        if (children.back() == 0)
            _exit(work(number) ? 0 : 1);
    }
    for (pid_t child : children) {
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
}

constexpr DWORD kRounds = 40;

TEST_F(Durability, SingleCallsOfManyProcessesLoseNothing) {
    run_processes([&](int number) {
        const std::wstring name = L"process" + std::to_wstring(number);
        for (DWORD round = 1; round <= kRounds; ++round)
            if (set_number(HKEY_USERS, name.c_str(), round) != 0 ||
                get_number(HKEY_USERS, name.c_str()) != round || VerifyRegistry(path().c_str()) == 0)
                return false;
        return true;
    });
    for (const wchar_t* name : {L"process0", L"process1", L"process2", L"process3"})
        EXPECT_EQ(get_number(HKEY_USERS, name), kRounds);
}

// Between opening and closing the last writer wins, so the processes take turns there. Their saves follow
// each other faster than the clock of the file system ticks: none may go unseen.
TEST_F(Durability, ChangesOfManyProcessesInTurnsLoseNothing) {
    run_processes([&](int number) {
        const std::wstring name = L"process" + std::to_wstring(number);
        const int turn = open((directory + "/turns").c_str(), O_RDWR | O_CREAT, 0600);
        bool good = true;
        for (DWORD round = 1; round <= kRounds && good; ++round) {
            flock(turn, LOCK_EX);
            HKEY key = create_key(name.c_str());
            const long long before = get_number(key, L"n");
            good = before == (round == 1 ? -2 : static_cast<long long>(round) - 1) &&
                   set_number(key, L"n", round) == 0 && RegCloseKey(key) == 0;
            flock(turn, LOCK_UN);
            good = good && number_at(name.c_str(), L"n") == round && VerifyRegistry(path().c_str()) != 0;
        }
        return good;
    });
    for (const wchar_t* name : {L"process0", L"process1", L"process2", L"process3"})
        EXPECT_EQ(number_at(name, L"n"), kRounds);
}

TEST_F(Durability, WithoutTheSemaphoreCallsGoOnUnlockedAndSayWhy) {
    g_lockError = EACCES;
    EXPECT_EQ(LockRegistry(), 0);
    EXPECT_EQ(get_number(HKEY_LOCAL_MACHINE, L"n"), 1);
    EXPECT_EQ(g_log, std::vector<std::string>(2, "3: Failed to obtain registry lock (13)"));
    g_lockError = 0;
    EXPECT_EQ(LockRegistry(), 1);
    EXPECT_STREQ(g_lockMade, "zel_registry_lock 644 1");
}

TEST_F(Durability, UnsavedChangesOutliveAFileThatCannotBeRead) {
    inject(Fault::fail_forever, 1, ENOSPC);
    EXPECT_EQ(write_number(L"n", 2), 0);
    heal();
    const std::string hidden = directory + "/hidden";
    ASSERT_EQ(rename((directory + "/var/zel").c_str(), hidden.c_str()), 0);
    EXPECT_EQ(write_number(L"n", 3), 2);
    ASSERT_EQ(rename(hidden.c_str(), (directory + "/var/zel").c_str()), 0);
    EXPECT_EQ(get_number(HKEY_LOCAL_MACHINE, L"n"), 2);
    EXPECT_EQ(fresh(L"n"), 2);
}

} // namespace
