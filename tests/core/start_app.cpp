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

// Faults on so many threads at once.
static void write_to_nowhere_on(unsigned count) {
    pthread_barrier_t start;
    pthread_barrier_init(&start, nullptr, count);
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < count; i++)
        threads.emplace_back([&start] {
            pthread_barrier_wait(&start);
            write_to_nowhere();
        });
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

static const struct {
    const char* mode;
    void (*run)();
} kModes[] = {
    {"survive", survive},
    {"write", write_to_nowhere},
    {"walk", write_to_nowhere},
    {"fault-in-report", write_to_nowhere},
    {"stuck-report", write_to_nowhere},
    {"read-only", [] { *const_cast<volatile char*>("text") = 'x'; }},
    {"abort", abort},
    {"overflow", [] { overflow(nullptr); }},
    {"thread", [] { write_to_nowhere_on(1); }},
    {"overflow-on-thread", overflow_on_thread},
    {"together", [] { write_to_nowhere_on(8); }},
    {"uncaught", [] { RaiseException(1, 0, 0, nullptr); }},
};

// One fact a line. The elements of the vector carry no terminator, so the last is printed to the length that
// the tests give it.
static void print_command_line(LPWSTR lpCmdLine) {
    int count = 0;
    LPWSTR* vector = CommandLineToArgvW(L"any text", &count);
    int path_count = 0;
    LPWSTR* path = CommandLineToArgvW(nullptr, &path_count);
    LPWSTR* path_again = CommandLineToArgvW(L"", nullptr);
    printf("path %d %d\n", path_count, path == path_again && path[0] == vector[0] && path[0][0] == L'/');
    printf("executable [%ls]\n", path[0]);
    printf("same %d\n", lpCmdLine == GetCommandLine() && vector == CommandLineToArgvW(L"x", nullptr));
    printf("narrow [%s]\nwide [%ls]\ncount %d\n", GetCommandLineA(), lpCmdLine, count);
    if (count > 1)
        printf("last [%.3ls]\n", vector[count - 1]);
}

int WINAPI WinMain(HINSTANCE instance, HINSTANCE previous, LPWSTR lpCmdLine, int show) {
    mode = GetCommandLineA();
    mode = mode.substr(0, mode.find(' '));
    for (const auto& known : kModes)
        if (mode == known.mode)
            known.run();
    if (mode == "status")
        return atoi(GetCommandLineA() + 7);
    print_command_line(lpCmdLine);
    return instance == nullptr && previous == nullptr && show == 0 ? 0 : 1;
}
