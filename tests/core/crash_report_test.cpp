#include "tests/child_process.h"

#include <atomic>
#include <csignal>
#include <cstring>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <kalto/core.h>
#include <thread>
#include <vector>

namespace {

// Takes its time, in which other threads that crash would get in.
int find_nothing(const char* /*address*/, Dl_info* /*info*/) {
    usleep(50000);
    return 0;
}
// What answers the look-ups of the crash report, in place of the dynamic loader.
int (*look_up)(const char* address, Dl_info* info) = find_nothing;

int* volatile nowhere = reinterpret_cast<int*>(16);
volatile bool endless = true;

} // namespace

extern "C" KALTO_API int dladdr(const void* address, Dl_info* info) {
    return look_up(static_cast<const char*>(address), info);
}

namespace {

void write_to_nowhere() {
    *nowhere = 1;
}

void write_to_text() {
    *const_cast<volatile char*>("text") = 'x';
}

void write_on_eight_threads_at_once() {
    static std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; i++)
        threads.emplace_back([] {
            InstallSignalHandlers(); // for a signal stack, in which the report looks for symbols
            for (++ready; ready < 8;) {
            }
            write_to_nowhere();
        });
    pause();
}

__attribute__((noinline)) int fill_stack(volatile char* caller) {
    volatile char frame[4096];
    frame[0] = caller != nullptr ? caller[0] : '\0';
    return endless ? fill_stack(frame) + frame[0] : 0;
}

void overflow_on_thread() {
    std::thread([] {
        InstallSignalHandlers();
        fill_stack(nullptr);
    }).join();
}

// The whole report but for the trace: a report that is cut, doubled or mixed with another one does not match.
std::string report(const std::string& signal, const std::string& code) {
    std::string text = "^Received signal: " + signal + " \\(PID = [0-9]+\\)\ninfo\\.si_errno = 0\n";
    text += "info\\.si_code  = " + code + "\ninfo\\.si_addr  = (0x[0-9a-f]+|\\(nil\\))\n";
    for (int i = 0; i < 18; i++)
        text += (i < 10 ? "reg\\[0" : "reg\\[") + std::to_string(i) + "\\]= 0x[0-9a-f]{8,16}\n";
    return text + "Stack trace:\nEnd of stack trace\n$";
}

TEST(CrashReport, IsWholeAndEndsTheProcess) {
    const struct {
        void (*crash)();
        const char *signal, *code;
    } cases[] = {
        {write_to_nowhere, "SIGSEGV", "1 \\(SEGV_MAPERR\\)"},
        {write_to_text, "SIGSEGV", "2 \\(SEGV_ACCERR\\)"},
        {abort, "SIGABRT", "-6 \\(\\)"},
        {write_on_eight_threads_at_once, "SIGSEGV", "1 \\(SEGV_MAPERR\\)"},
        {overflow_on_thread, "SIGSEGV", "[12] \\(SEGV_(MAPERR|ACCERR)\\)"},
    };
    InstallSignalHandlers();
    for (const auto& c : cases)
        EXPECT_EXIT(c.crash(), testing::ExitedWithCode(1), report(c.signal, c.code));
}

// Under emulation the process has the emulator's number, which is the child's.
TEST(CrashReport, IsThereWhenTheApplicationStarts) {
    const ChildResult child = run_child(START_APP, {"abort"});
    EXPECT_EQ(child.status, 1);
    EXPECT_EQ(child.err.find("Received signal: SIGABRT (PID = " + std::to_string(child.pid) + ")\n"), 0u);
}

// Deliberate: the addresses of the stack's words are looked up, four bytes apart.
TEST(CrashReport, WalksTheSignalStackByWordsUpToMain) {
    look_up = [](const char* address, Dl_info* info) {
        static const char* const names[] = {"first", "second", "main", "beyond"};
        static const char* const base = address;
        info->dli_sname = names[(address - base) / 4];
        info->dli_saddr = const_cast<char*>(base) - 100;
        info->dli_fname = "object.so";
        return 1;
    };
    InstallSignalHandlers();
    EXPECT_EXIT(abort(), testing::ExitedWithCode(1),
                "Stack trace:\n"
                " 1: 0x[0-9a-f]+000 <first\\+100> \\(object\\.so\\)\n"
                " 2: 0x[0-9a-f]+004 <second\\+104> \\(object\\.so\\)\n"
                " 3: 0x[0-9a-f]+008 <main\\+108> \\(object\\.so\\)\n"
                "End of stack trace\n$");
}

// A fault inside the report, and one that gets stuck.
TEST(CrashReport, EndsTheProcessAlsoWhenItFails) {
    InstallSignalHandlers();
    for (const auto failure : {+[](const char*, Dl_info*) { return *nowhere = 1; },
                               +[](const char*, Dl_info*) { return pause(); }}) {
        look_up = failure;
        EXPECT_EXIT(abort(), testing::ExitedWithCode(1), "^Received signal: SIGABRT");
    }
}

// Deliberate: also where an application installs the report for them.
TEST(CrashReport, HasNothingToSayAboutAlarmsAndChildren) {
    InstallSignalHandlers();
    struct sigaction installed = {};
    sigaction(SIGSEGV, nullptr, &installed);
    for (int signal : {SIGALRM, SIGCHLD}) {
        sigaction(signal, &installed, nullptr);
        raise(signal); // which would end the process
    }
}

std::string vector_of(int signal) {
    char text[64] = "untouched";
    return GetSignalVector(signal, text) != 0 ? text : std::string("refused, ") + text;
}

TEST(SignalVector, TellsWhatEachSignalDoes) {
    InstallSignalHandlers();
    const std::string left_alone = "\x02\x09\x0F\x11\x12\x13\x14\x15\x16\x1C", ignored = "\x0D\x0E\x1B";
    for (int number = 1; number <= 60; number++) {
        if (number == 32 || number == 33) // the C library's own
            continue;
        const std::string name = number > 31 ? "Unknown" : std::string("SIG") + sigabbrev_np(number);
        const char* does = left_alone.find(char(number)) != std::string::npos ? "default"
                           : ignored.find(char(number)) != std::string::npos  ? "ignored"
                                                                              : "application";
        EXPECT_EQ(vector_of(number),
                  (number == SIGIO ? "SIGIO" : name) + " (" + std::to_string(number) + "): " + does);
    }
    for (int number : {-1, 0, 32, 65})
        EXPECT_EQ(vector_of(number), "refused, untouched");
    EXPECT_EQ(GetSignalVector(SIGINT, nullptr), 0);

    signal(SIGUSR1, reinterpret_cast<void (*)(int)>(0x1234));
    InstallSignalHandlers(); // once is enough: what the application has changed stays
    EXPECT_EQ(vector_of(SIGUSR1), "SIGUSR1 (10): unknown (0x1234)");
}

} // namespace
