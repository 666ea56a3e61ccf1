// startup_bench RUNS PROGRAM APPLICATION [EMULATOR...]: how long the two take from being started to having
// ended, turn about, and how much memory they have had at most; then the application's share of the
// program's.
//
// The memory is read while the process is held at its end: what the system reports afterwards would count the
// memory that the measuring process itself had when it started the other one.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <spawn.h>
#include <string>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using Command = std::vector<char*>; // ends with a null

[[noreturn]] void give_up(const char* what) {
    perror(what);
    exit(1);
}

double milliseconds_of(const Command& command) {
    auto start = std::chrono::steady_clock::now();
    pid_t pid = 0;
    int status = 0;
    if (posix_spawnp(&pid, command[0], nullptr, nullptr, command.data(), environ) != 0 ||
        waitpid(pid, &status, 0) != pid || status != 0)
        give_up(command[0]);
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

long peak_kilobytes(pid_t pid) {
    FILE* file = fopen(("/proc/" + std::to_string(pid) + "/status").c_str(), "r");
    if (file == nullptr)
        give_up("/proc");
    long peak = 0;
    char line[256];
    while (fgets(line, sizeof line, file) != nullptr)
        if (sscanf(line, "VmHWM: %ld", &peak) == 1)
            break;
    fclose(file);
    return peak;
}

long kilobytes_of(const Command& command) {
    pid_t pid = fork();
    if (pid == 0) {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        raise(SIGSTOP);
        execvp(command[0], command.data());
        _exit(127);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    if (ptrace(PTRACE_SETOPTIONS, pid, nullptr, PTRACE_O_TRACEEXIT) != 0)
        give_up("ptrace");
    long peak = 0;
    for (;;) {
        ptrace(PTRACE_CONT, pid, nullptr, nullptr);
        if (waitpid(pid, &status, 0) != pid || !WIFSTOPPED(status))
            return peak;
        if (status >> 8 == (SIGTRAP | (PTRACE_EVENT_EXIT << 8)))
            peak = peak_kilobytes(pid);
    }
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 4) {
        fprintf(stderr, "usage: startup_bench RUNS PROGRAM APPLICATION [EMULATOR...]\n");
        return 2;
    }
    const int runs = std::max(1, atoi(argv[1]));
    Command commands[2];
    std::vector<double> times[2];
    double memory[2];
    for (int which = 0; which < 2; which++) {
        commands[which].assign(argv + 4, argv + argc);
        commands[which].push_back(argv[2 + which]);
        commands[which].push_back(nullptr);
        memory[which] = static_cast<double>(kilobytes_of(commands[which]));
    }
    for (int run = 0; run < runs; run++)
        for (int which = 0; which < 2; which++)
            times[which].push_back(milliseconds_of(commands[which]));

    for (int which = 0; which < 2; which++)
        printf("%-40s median %7.3f ms, least %7.3f ms, peak %6.0f KB\n", argv[2 + which],
               median(times[which]), *std::min_element(times[which].begin(), times[which].end()),
               memory[which]);
    printf("ratio: time %.2f, memory %.2f, over %d runs\n", median(times[1]) / median(times[0]),
           memory[1] / memory[0], runs);
    return 0;
}
