#include "figures.h"

#include <cstdio>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <malloc.h>
#include <sys/wait.h>

namespace {

long StatusLine(const char* name) {
    FILE* status = fopen("/proc/self/status", "r");
    if (status == nullptr)
        return -1;
    char line[256];
    long number = -1;
    while (fgets(line, sizeof(line), status) != nullptr)
        if (strncmp(line, name, strlen(name)) == 0)
            sscanf(line + strlen(name), "%ld", &number);
    fclose(status);
    return number;
}

long CountLines(const char* path) {
    FILE* file = fopen(path, "r");
    if (file == nullptr)
        return -1;
    long lines = 0;
    for (int byte = fgetc(file); byte != EOF; byte = fgetc(file))
        lines += byte == '\n' ? 1 : 0;
    fclose(file);
    return lines;
}

long CountEntries(const char* path) {
    DIR* directory = opendir(path);
    if (directory == nullptr)
        return -1;
    long entries = 0;
    for (const dirent* entry = readdir(directory); entry != nullptr; entry = readdir(directory))
        entries += entry->d_name[0] == '.' ? 0 : 1;
    closedir(directory);
    return entries;
}

void AwaitFewestThreads() {
    static long fewest = StatusLine("Threads:");
    const struct timespec pause = {0, 10000000L};
    for (int i = 0; i < 1000 && StatusLine("Threads:") > fewest; ++i)
        nanosleep(&pause, nullptr);
}

} // namespace

Figures TakeFigures() {
    AwaitFewestThreads();
    siginfo_t child = {};
    const bool zombie = waitid(P_ALL, 0, &child, WEXITED | WNOHANG | WNOWAIT) == 0 && child.si_pid != 0;
    const struct mallinfo2 heap = mallinfo2();
    return {StatusLine("VmRSS:"),          static_cast<long>((heap.uordblks + heap.hblkhd) / 1024),
            CountLines("/proc/self/maps"), CountEntries("/proc/self/fd"),
            StatusLine("Threads:"),        zombie ? 1 : 0};
}
