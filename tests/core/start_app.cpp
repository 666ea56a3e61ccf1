// An application for the start-up and crash tests: the first argument says what to do. It defines WinMain
// alone; main is the library's.
#include <windows.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <pthread.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

static std::string mode;
static int* volatile nowhere = reinterpret_cast<int*>(16);
static volatile bool endless = true;

// Stands in for the dynamic loader in the crash report's walk; the other modes are passed on.
static const char* base_of_walk = nullptr;

static int answer_walk(const char* address, Dl_info* info) {
    static const char* const names[] = {"first", "second", "main", "beyond"};
    if (base_of_walk == nullptr)
        base_of_walk = address;
    ptrdiff_t step = (address - base_of_walk) / 4;
    info->dli_sname = names[step % 4];
    info->dli_saddr = const_cast<char*>(base_of_walk) - 100;
    info->dli_fname = "object.so";
    return 1;
}

extern "C" KALTO_API int dladdr(const void* address, Dl_info* info) {
    if (mode == "walk")
        return answer_walk(static_cast<const char*>(address), info);
    if (mode == "fault-in-report")
        *nowhere = 1;
    while (mode == "stuck-report")
        pause();
    return 0;
}

__attribute__((noinline)) static int overflow(volatile char* caller) {
    volatile char frame[4096];
    frame[0] = caller != nullptr ? caller[0] : '\0';
    return endless ? overflow(frame) + frame[0] : 0;
}

static void write_to_nowhere() {
    *nowhere = 1;
}

static void crash_together() {
    pthread_barrier_t start;
    pthread_barrier_init(&start, nullptr, 8);
    auto crash = [&start] {
        pthread_barrier_wait(&start);
        write_to_nowhere();
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; i++)
        threads.emplace_back(crash);
    for (std::thread& thread : threads)
        thread.join();
}

static void overflow_on_thread() {
    std::thread([] {
        InstallSignalHandlers();
        overflow(nullptr);
    }).join();
}

// The crash report for the two signals that it has nothing to say about.
static void survive() {
    struct sigaction report = {};
    sigaction(SIGSEGV, nullptr, &report);
    for (int signal : {SIGALRM, SIGCHLD}) {
        sigaction(signal, &report, nullptr);
        raise(signal);
    }
}

static void crash() {
    if (mode == "survive")
        survive();
    if (mode == "write" || mode == "walk" || mode == "fault-in-report" || mode == "stuck-report")
        write_to_nowhere();
    if (mode == "read-only")
        *const_cast<volatile char*>("text") = 'x';
    if (mode == "abort")
        abort();
    if (mode == "overflow")
        overflow(nullptr);
    if (mode == "thread")
        std::thread(write_to_nowhere).join();
    if (mode == "overflow-on-thread")
        overflow_on_thread();
    if (mode == "together")
        crash_together();
    if (mode == "uncaught")
        RaiseException(1, 0, 0, nullptr);
}

// One fact a line. The elements of the vector carry no terminator, so each is printed to the length of the
// argument.
static void print_command_line(LPWSTR lpCmdLine) {
    int count = 0;
    LPWSTR* vector = CommandLineToArgvW(L"any text", &count);
    int path_count = 0;
    LPWSTR* path = CommandLineToArgvW(nullptr, &path_count);
    LPWSTR* path_again = CommandLineToArgvW(L"", nullptr);
    printf("narrow [%s]\n", GetCommandLineA());
    printf("wide [%ls]\n", lpCmdLine);
    printf("same %d\n", lpCmdLine == GetCommandLine() && vector == CommandLineToArgvW(L"x", nullptr));
    printf("count %d\n", count);
    printf("path %d %d\n", path_count, path == path_again && path[0] == vector[0] && path[0][0] == L'/');
    printf("executable [%ls]\n", path[0]);
    if (count > 2)
        printf("element [%.3ls]\n", vector[2]);
}

int WINAPI WinMain(HINSTANCE instance, HINSTANCE previous, LPWSTR lpCmdLine, int show) {
    mode = GetCommandLineA();
    mode = mode.substr(0, mode.find(' '));
    crash();
    if (mode == "status")
        return atoi(GetCommandLineA() + 7);
    print_command_line(lpCmdLine);
    return instance == nullptr && previous == nullptr && show == 0 ? 0 : 1;
}
