// soak SECONDS [RESIDENT-KB]: everything at once, for a long time, in two processes that share a registry.
// Rounds of work alternate with moments at which nothing is at work, and in which what is in use must be what
// it was before. Prints a table of these figures, one line for each round of each process.
//
// The registry and all files are in a directory of its own. Exit status 0, or 1 when something grew
// (RESIDENT-KB is the bound for the resident memory, 0 for none), a call gave a wrong result, or a thread did
// not end.
#include "round.h"
#include "station.h"
#include "verdict.h"

#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const unsigned kRounds = 20;
const unsigned kWarmUp = 5;
const unsigned kLeastRound = 2;   // seconds
const unsigned kPatience = 300;   // seconds for the second process, after the first
const long kResidentBound = 4096; // KB

struct Plan {
    unsigned seconds;
    long resident_bound;
    std::string directory;
};

void PrintFigures(const char* process, const char* when, const Figures& figures, uint64_t steps) {
    printf("%-7s %9s %9llu %12ld %9ld %9ld %12ld %8ld\n", process, when,
           static_cast<unsigned long long>(steps), figures.resident, figures.heap, figures.mappings,
           figures.descriptors, figures.threads);
    fflush(stdout);
}

uint64_t Total(const Round& round) {
    uint64_t total = 0;
    for (const auto& area : round.Steps())
        total += area.second;
    return total;
}

bool EveryAreaWorked(const Round& round, const char* process) {
    bool worked = true;
    for (const auto& [area, steps] : round.Steps()) {
        printf("%-7s %s: %llu steps\n", process, area.c_str(), static_cast<unsigned long long>(steps));
        worked = worked && steps > 0;
    }
    return worked;
}

// Whether the other process has ended.
bool IsAlone(int partner) {
    struct pollfd other = {partner, POLLIN, 0};
    return poll(&other, 1, 0) > 0;
}

// Rounds until the time is over, something was wrong, or the other process has ended before its time.
int Soak(const char* process, const std::vector<Area>& areas, const Plan& plan, int partner) {
    const std::string directory = plan.directory + "/" + process;
    std::filesystem::create_directory(directory);
    const unsigned seconds = std::max(plan.seconds / kRounds, kLeastRound);
    Round round(areas, directory);
    Verdict verdict(process, kWarmUp, plan.resident_bound);
    for (unsigned i = 1; i <= kRounds && !AnyFailure() && !verdict.Grown() && !IsAlone(partner); ++i) {
        round.Run(seconds);
        const Figures figures = TakeFigures();
        verdict.Add(figures);
        PrintFigures(process, (std::to_string(i * seconds) + " s").c_str(), figures, Total(round));
    }
    const bool worked = EveryAreaWorked(round, process);
    return AnyFailure() || verdict.Grown() || !worked ? 1 : 0;
}

// The status of the second process; one that does not come to its end is killed, and counts as failed.
int Await(pid_t process) {
    int status = 0;
    for (unsigned waited = 0; waited < kPatience; ++waited) {
        if (waitpid(process, &status, WNOHANG) == process)
            return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
        sleep(1);
    }
    fprintf(stderr, "soak: the second process does not come to its end\n");
    kill(process, SIGKILL);
    waitpid(process, &status, 0);
    return 1;
}

// Ends with the status of its soak, but not before the first process has ended its own, unless it has failed:
// until then that one has no child that it could have forgotten to collect.
[[noreturn]] void SecondProcess(const Plan& plan, int partner) {
    const int status =
        Soak("second", {{"registry", RegistryStep, 2}, {"files", FilesStep, 1}, {"objects", ObjectsStep, 1}},
             plan, partner);
    fflush(nullptr);
    char nothing;
    while (status == 0 && read(partner, &nothing, 1) > 0)
        continue;
    _exit(status);
}

int SoakInTwoProcesses(const Plan& plan) {
    puts("process     after     steps  resident/KB   heap/KB  mappings  descriptors  threads");
    fflush(stdout);
    int ends[2]; // nothing is said: each process sees the other one's end close
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0)
        return 1;
    const pid_t second = fork();
    if (second < 0)
        return 1;
    close(ends[second == 0 ? 0 : 1]);
    if (second == 0)
        SecondProcess(plan, ends[1]);
    const int status = Soak("first",
                            {{"threads", ThreadsStep, 2},
                             {"objects", ObjectsStep, 3},
                             {"registry", RegistryStep, 3},
                             {"files", FilesStep, 2},
                             {"documents", DocumentsStep, 2},
                             {"text", TextStep, 2}},
                            plan, ends[0]);
    close(ends[0]);
    return Await(second) | status;
}

std::string PrepareDirectory() {
    const char* temporary = getenv("TMPDIR");
    std::string name = std::string(temporary != nullptr ? temporary : "/tmp") + "/kalto_soak_XXXXXX";
    if (mkdtemp(&name[0]) == nullptr)
        return std::string();
    std::filesystem::create_directories(name + "/var/zel");
    return name;
}

} // namespace

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPWSTR lpCmdLine, int) {
    WCHAR* rest = nullptr;
    Plan plan = {static_cast<unsigned>(wcstoul(lpCmdLine, &rest, 10)), 0, PrepareDirectory()};
    plan.resident_bound = *rest == L'\0' ? kResidentBound : wcstol(rest, nullptr, 10);
    setlocale(LC_ALL, "C.UTF-8");
    if (plan.seconds == 0 || plan.directory.empty())
        return 1;
    g_sandboxDir = plan.directory.c_str();
    LockRegistry(); // opens the lock that both processes will share
    UnlockRegistry();

    const int status = SoakInTwoProcesses(plan);
    std::error_code ignored;
    std::filesystem::remove_all(plan.directory, ignored);
    puts(status == 0 ? "nothing grew, and every result was right" : "FAILED: see above");
    return status;
}
