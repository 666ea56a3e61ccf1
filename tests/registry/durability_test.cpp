// Whatever happens during a save, the file holds the old registry or the new one, whole.
#include "faults.h"
#include "sandbox.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

class Durability : public Sandbox {
  protected:
    Durability() { start_over(); }
    // So long that a save takes several writes.
    void start_over() const {
        write_registry("<k Name='HKEY_LOCAL_MACHINE'>\n<v Name='kept' value='1' type='REG_DWORD'/>\n"
                       "<v Name='n' value='1' type='REG_DWORD'/>\n<v Name='z' value='" +
                       std::string(150000, 'z') + "' type='REG_SZ'/>\n</k>");
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

// Runs the work in a child with the fault at its first call, then at its second, and so on, and each time
// what comes after in the parent; ends with a child that did not get to the fault. Gives the number of runs.
int at_every_call(Fault fault, int error, const std::function<void()>& work,
                  const std::function<void()>& after) {
    int call = 0;
    for (bool reached = true; reached && !testing::Test::HasFailure();) {
        SCOPED_TRACE("fault at call " + std::to_string(++call));
        const int status = in_child([&] {
            inject(fault, call, error);
            work();
            return heal() ? 1 : 0;
        });
        EXPECT_TRUE(status == 0 || status == 1 || (fault == Fault::kill && status == -SIGKILL)) << status;
        reached = status != 0;
        after();
    }
    return call;
}

TEST_F(Durability, KilledAtAnyCallTheRegistryIsOldOrNew) {
    int value = 1;
    const auto work = [&] { write_number(L"n", static_cast<DWORD>(value + 1)); };
    const int calls = at_every_call(Fault::kill, 0, work, [&] {
        const int read_back = fresh(L"n");
        EXPECT_TRUE(read_back == value || read_back == value + 1) << read_back;
        EXPECT_EQ(fresh(L"kept"), 1);
        value = read_back;
    });
    EXPECT_GT(calls, 15) << "the faults did not reach the store's calls";
}

// A power cut may take away whatever was not synced: the text before it replaces anything, the change of
// names after it.
TEST_F(Durability, SyncsTheFileBeforeItIsRenamedAndTheFolderAfter) {
    inject(Fault::none, 0);
    write_number(L"n", 2);
    heal();
    EXPECT_EQ(g_faults.writes, "open write write write sync_file_range fsync utimensat rename fsync ");
    ASSERT_EQ(rename(path().c_str(), path(kPending).c_str()), 0);
    inject(Fault::none, 0);
    EXPECT_EQ(MoveTmpRegistry(), 1);
    heal();
    EXPECT_EQ(g_faults.writes, "fsync rename fsync ") << "what a killed process left";
}

TEST_F(Durability, FaultAtAnyCallLeavesAWholeRegistryAndALaterSaveSucceeds) {
    const struct {
        const char* name;
        Fault fault;
        int error;
    } cases[] = {{"no space", Fault::fail, ENOSPC},
                 {"input/output error", Fault::fail, EIO},
                 {"interrupted", Fault::interrupt, EINTR},
                 {"short write", Fault::half, 0},
                 {"full from then on", Fault::fail_forever, ENOSPC}};
    const auto work = [&] {
        const LONG error = write_number(L"n", 2);
        heal();
        // What the disk did not take replaces nothing, though it may well parse as long as there is power.
        const std::string& hit = g_faults.hit;
        const bool lost = g_faults.fault == Fault::fail && !hit.empty() &&
                          hit.find("utimensat") == std::string::npos &&
                          hit.find("rename") == std::string::npos;
        EXPECT_TRUE(!lost || g_faults.writes.find("rename") == std::string::npos) << hit;
        const int stored = fresh(L"n");
        EXPECT_TRUE(stored == 1 || stored == 2) << stored;
        EXPECT_TRUE(stored == 2 || !g_log.empty()) << "a failed save was not logged";
        EXPECT_TRUE(g_faults.fault != Fault::interrupt || (stored == 2 && g_log.empty())) << "no retry";
        EXPECT_EQ(write_number(L"other", 3), 0);
        EXPECT_EQ(fresh(L"other"), 3) << "the later save";
        EXPECT_EQ(fresh(L"n"), error == ERROR_SUCCESS ? 2 : 1);
        EXPECT_EQ(fresh(L"kept"), 1);
        EXPECT_FALSE(exists(kPending));
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        at_every_call(c.fault, c.error, work, [&] { start_over(); });
    }
}

TEST_F(Durability, FaultWhileTheSkeletonIsMadeIsReportedAndDoesNotLoop) {
    unlink(path().c_str());
    const auto work = [&] {
        const LONG error = write_number(L"n", 2);
        heal();
        EXPECT_TRUE(error == 0 || error == 2 || error == 1016) << error;
        EXPECT_EQ(write_number(L"n", 3), 0);
    };
    at_every_call(Fault::fail_forever, ENOSPC, work, [&] {
        EXPECT_EQ(fresh(L"n"), 3);
        unlink(path().c_str());
    });
}

// A thread that is cancelled inside a call gives the lock back and loses nothing that its process wrote.
TEST_F(Durability, CancelledThreadLeavesTheLockFree) {
    const auto work = [] {
        alarm(30);
        std::thread(write_number, L"n", 2).join();
        heal();
        EXPECT_EQ(write_number(L"other", 3), 0);
        EXPECT_EQ(get_number(HKEY_LOCAL_MACHINE, L"other"), 3);
    };
    at_every_call(Fault::cancel, 0, work, [] {});
}

constexpr DWORD kRounds = 40;

// In four processes at once, each of which has a name, does the work kRounds times. It must return true.
// After the last round the value of that name holds the number of rounds.
void run_processes(const std::string& path,
                   const std::function<bool(const wchar_t* name, DWORD round)>& work) {
    const std::vector<const wchar_t*> names = {L"process0", L"process1", L"process2", L"process3"};
    for (const wchar_t* name : names) {
        if (fork() != 0)
            continue;
        DWORD round = 1;
        while (round <= kRounds && work(name, round) && get_number(HKEY_USERS, name) == round &&
               VerifyRegistry(path.c_str()) != 0)
            ++round;
        _exit(round > kRounds ? 0 : 1);
    }
    int status = -1;
    while (wait(&status) != -1)
        EXPECT_EQ(status, 0);
    for (const wchar_t* name : names)
        EXPECT_EQ(get_number(HKEY_USERS, name), kRounds);
}

TEST_F(Durability, SingleCallsOfManyProcessesLoseNothing) {
    run_processes(path(), [](const wchar_t* name, DWORD round) {
        return set_number(HKEY_USERS, name, round) == ERROR_SUCCESS;
    });
}

// Between opening and closing the last writer wins, so the processes take turns there. Their saves follow
// each other faster than the clock of the file system ticks: none may go unseen.
TEST_F(Durability, ChangesOfManyProcessesInTurnsLoseNothing) {
    run_processes(path(), [&](const wchar_t* name, DWORD round) {
        const int turn = open((directory + "/turns").c_str(), O_RDWR | O_CREAT, 0600);
        flock(turn, LOCK_EX);
        HKEY key = create_key(L"", HKEY_USERS);
        const long long before = get_number(key, name);
        const bool good = set_number(key, name, round) == 0 && RegCloseKey(key) == 0;
        close(turn);
        return good && before == (round == 1 ? -2 : static_cast<long long>(round) - 1);
    });
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

TEST_F(Durability, UnsavedChangesOutliveAFileThatCannotBeReadOrIsNewer) {
    inject(Fault::fail_forever, 1, ENOSPC);
    EXPECT_EQ(write_number(L"n", 2), 0);
    heal();
    const std::string hidden = directory + "/hidden";
    ASSERT_EQ(rename((directory + "/var/zel").c_str(), hidden.c_str()), 0);
    EXPECT_EQ(write_number(L"n", 3), 2);
    ASSERT_EQ(rename(hidden.c_str(), (directory + "/var/zel").c_str()), 0);
    set_time(time(nullptr) + 2000, 0);
    EXPECT_EQ(get_number(HKEY_LOCAL_MACHINE, L"n"), 2);
    EXPECT_EQ(g_log.back(), "3: can't replace log buffer from file because it's dirty.  Merge needed.");
    EXPECT_EQ(fresh(L"n"), 2);
}

} // namespace
