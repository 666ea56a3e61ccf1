// soak SECONDS [RESIDENT-KB]: everything at once, for a long time, in two processes that share a registry.
// Rounds of work alternate with moments at which nothing is at work, and in which what is in use must be what
// it was before. Prints a table of these figures, one line for each round of each process.
//
// The registry and all files are in a directory of its own. Exit status 0, or 1 when something grew
// (RESIDENT-KB is the bound for the resident memory, 0 for none), a call gave a wrong result, or a thread did
// not end.
#include "soak.h"

#include "figures.h"
#include <atomic>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <list>
#include <random>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const unsigned kRounds = 20;
const unsigned kLeastRound = 2; // seconds
const unsigned kPatience = 120; // seconds that the end of a round may take
const DWORD kStackSize = 512 * 1024;
const int kMostReports = 20;

std::atomic<bool> stop{false};
std::atomic<int> failures{0};
thread_local std::minstd_rand chance;

struct Area {
    const char* name;
    void (*step)(const std::wstring& own);
    int threads;
    unsigned long long steps = 0;
};

// One thread of an area, for one round.
struct Place {
    Area& area;
    std::wstring own;
    unsigned seed; // no two places, of any two rounds, do the same
    unsigned long long steps = 0;
    HANDLE thread = nullptr;
};

DWORD WINAPI Work(LPVOID parameter) {
    Place& place = *static_cast<Place*>(parameter);
    chance.seed(place.seed);
    for (; !stop && failures == 0; ++place.steps)
        place.area.step(place.own);
    return 0;
}

void GiveUp(int) {
    static const char text[] = "soak: a thread does not come to its end\n";
    _exit(write(STDERR_FILENO, text, sizeof text - 1) > 0 ? 1 : 2);
}

void RunRound(const char* process, std::list<Area>& areas, unsigned seconds) {
    static unsigned seed = 0;
    std::list<Place> places;
    stop = false;
    alarm(seconds + kPatience);
    for (Area& area : areas)
        for (int i = 0; i < area.threads; ++i) {
            const std::string own = process + std::string(" ") + area.name + std::to_string(i);
            places.push_back({area, std::wstring(own.begin(), own.end()), ++seed});
        }
    for (Place& place : places)
        place.thread = CreateThread(nullptr, kStackSize, Work, &place, 0, nullptr);
    for (unsigned tenths = 0; tenths < seconds * 10 && failures == 0; ++tenths)
        usleep(100000);
    stop = true;
    for (Place& place : places) {
        Join(place.thread);
        place.area.steps += place.steps;
    }
    alarm(0);
}

// Rounds until the time is over or something was wrong.
int Soak(const char* process, std::list<Area> areas, unsigned seconds, long resident_bound) {
    std::vector<Figures> rounds;
    TakeFigures(); // which learns how few the threads are
    for (unsigned i = 1; i <= kRounds && failures == 0; ++i) {
        RunRound(process, areas, seconds);
        siginfo_t child = {};
        waitid(P_PGID, getpgrp(), &child, WEXITED | WNOHANG | WNOWAIT);
        Expect(child.si_pid == 0, "every child is collected");
        const Figures now = TakeFigures();
        rounds.push_back(now);
        failures += Grown(process, rounds, resident_bound) ? 1 : 0;
        unsigned long long steps = 0;
        for (const Area& area : areas)
            steps += area.steps;
        printf("%-7s %7u s %9llu %12ld %9ld %9ld %12ld %8ld\n", process, i * seconds, steps, now[kResident],
               now[kHeap], now[kMappings], now[kDescriptors], now[kThreads]);
        fflush(stdout);
    }
    for (const Area& area : areas) {
        printf("%-7s %s: %llu steps\n", process, area.name, area.steps);
        Expect(area.steps > 0, "every area has worked");
    }
    fflush(stdout);
    return failures == 0 ? 0 : 1;
}

int SoakInTwoProcesses(unsigned seconds, long resident_bound) {
    puts("process     after     steps  resident/KB   heap/KB  mappings  descriptors  threads");
    fflush(stdout);
    const pid_t second = fork();
    if (second == 0) {
        setpgid(0, 0); // no child that the first one could have forgotten to collect
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        _exit(Soak("second",
                   {{"registry", RegistryStep, 2}, {"files", FilesStep, 1}, {"objects", ObjectsStep, 1}},
                   seconds, resident_bound));
    }
    setpgid(second, second);
    const int status = Soak("first",
                            {{"threads", ThreadsStep, 2},
                             {"objects", ObjectsStep, 3},
                             {"registry", RegistryStep, 3},
                             {"files", FilesStep, 2},
                             {"documents", DocumentsStep, 2},
                             {"text", TextStep, 2}},
                            seconds, resident_bound);
    if (status != 0)
        kill(second, SIGKILL); // before its files are gone
    int of_second = 1;
    return waitpid(second, &of_second, 0) == second && of_second == 0 ? status : 1;
}

} // namespace

void Expect(bool condition, const char* what) {
    const DWORD error = GetLastError();
    if (!condition && failures++ < kMostReports)
        fprintf(stderr, "soak: wrong result: %s (last error %lu, errno %d)\n", what,
                static_cast<unsigned long>(error), errno);
}

DWORD Random(DWORD below) {
    return static_cast<DWORD>(chance() % below);
}

void Join(HANDLE thread) {
    Expect(WaitForSingleObject(thread, INFINITE) == WAIT_OBJECT_0, "wait for a thread");
    CloseHandle(thread);
}

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPWSTR lpCmdLine, int) {
    WCHAR* rest = nullptr;
    const unsigned seconds = static_cast<unsigned>(wcstoul(lpCmdLine, &rest, 10));
    const long resident_bound = *rest == L'\0' ? 4096 : wcstol(rest, nullptr, 10);
    const std::string temporary = getenv("TMPDIR") != nullptr ? getenv("TMPDIR") : "/tmp";
    std::string directory = temporary + "/kalto_soak_XXXXXX";
    if (seconds == 0 || mkdtemp(&directory[0]) == nullptr || chdir(directory.c_str()) != 0)
        return 1;
    setlocale(LC_ALL, "C.UTF-8");
    signal(SIGALRM, GiveUp);
    std::filesystem::create_directories("var/zel");
    g_sandboxDir = directory.c_str();
    LockRegistry(); // opens the lock that both processes will share
    UnlockRegistry();

    const int status = SoakInTwoProcesses(std::max(seconds / kRounds, kLeastRound), resident_bound);
    std::error_code ignored;
    std::filesystem::remove_all(directory, ignored);
    puts(status == 0 ? "nothing grew, and every result was right" : "FAILED: see above");
    return status;
}
