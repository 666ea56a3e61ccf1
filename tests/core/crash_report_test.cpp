#include "tests/child_process.h"

#include <csignal>
#include <cstring>
#include <gtest/gtest.h>
#include <kalto/core.h>
#include <regex>

namespace {

// The whole report but for the trace: a report that is cut, doubled or mixed with another one does not match.
std::string report(const std::string& signal, pid_t pid, const std::string& code) {
    // Under emulation the process has the emulator's number, which is the child's.
    std::string text = "Received signal: " + signal + " \\(PID = " + std::to_string(pid) + "\\)\n";
    text += "info\\.si_errno = 0\ninfo\\.si_code  = " + code + "\n";
    text += "info\\.si_addr  = (0x[0-9a-f]+|\\(nil\\))\n";
    for (int i = 0; i < 18; i++)
        text += (i < 10 ? "reg\\[0" : "reg\\[") + std::to_string(i) + "\\]= 0x[0-9a-f]{8,16}\n";
    return text + "Stack trace:\nEnd of stack trace\n";
}

std::string name_of(int signal) {
    if (signal < 1 || signal > 31)
        return "Unknown";
    return std::string("SIG") + (signal == SIGIO ? "IO" : sigabbrev_np(signal));
}

} // namespace

TEST(CrashReport, IsWholeAndEndsTheProcess) {
    const struct {
        const char *mode, *signal, *code, *before;
    } cases[] = {
        {"write", "SIGSEGV", "1 \\(SEGV_MAPERR\\)", ""},
        {"read-only", "SIGSEGV", "2 \\(SEGV_ACCERR\\)", ""},
        {"abort", "SIGABRT", "-6 \\(\\)", ""},
        {"uncaught", "SIGABRT", "-6 \\(\\)", "terminate called.*\n"},
        {"thread", "SIGSEGV", "1 \\(SEGV_MAPERR\\)", ""},
        {"together", "SIGSEGV", "1 \\(SEGV_MAPERR\\)", ""},
        {"overflow", "SIGSEGV", "[12] \\(SEGV_(MAPERR|ACCERR)\\)", ""},
        {"overflow-on-thread", "SIGSEGV", "[12] \\(SEGV_(MAPERR|ACCERR)\\)", ""},
    };
    for (const auto& test : cases) {
        ChildResult child = run_child(START_APP, {test.mode});
        EXPECT_EQ(child.status, 1) << test.mode;
        const std::regex expected(test.before + report(test.signal, child.pid, test.code));
        EXPECT_TRUE(std::regex_match(child.err, expected)) << test.mode << '\n' << child.err;
    }
}

TEST(CrashReport, WalksTheSignalStackByWordsUpToMain) {
    const std::string err = run_child(START_APP, {"walk"}).err;
    const std::regex trace("Stack trace:\n"
                           " 1: 0x([0-9a-f]+) <first\\+100> \\(object\\.so\\)\n"
                           " 2: 0x([0-9a-f]+) <second\\+104> \\(object\\.so\\)\n"
                           " 3: 0x([0-9a-f]+) <main\\+108> \\(object\\.so\\)\n"
                           "End of stack trace\n$");
    std::smatch found;
    ASSERT_TRUE(std::regex_search(err, found, trace)) << err;
    EXPECT_EQ(std::stoull(found[2], nullptr, 16), std::stoull(found[1], nullptr, 16) + 4);
    EXPECT_EQ(std::stoull(found[3], nullptr, 16), std::stoull(found[1], nullptr, 16) + 8);
}

TEST(CrashReport, EndsTheProcessAlsoWhenItFailsButNotForAlarmsAndChildren) {
    for (const char* mode : {"fault-in-report", "stuck-report"}) {
        ChildResult child = run_child(START_APP, {mode});
        EXPECT_EQ(child.status, 1) << mode;
        EXPECT_EQ(child.err.find("Received signal: SIGSEGV"), 0u) << mode;
    }
    ChildResult child = run_child(START_APP, {"survive"});
    EXPECT_EQ(child.status, 0);
    EXPECT_EQ(child.err, "");
}

TEST(SignalVector, TellsWhatEachSignalDoes) {
    InstallSignalHandlers();
    const std::string left_alone = "\x02\x09\x0F\x11\x12\x13\x14\x15\x16\x1C", ignored = "\x0D\x0E\x1B";
    for (int number = 1; number <= 60; number++) {
        if (number == 32 || number == 33) // the C library's own
            continue;
        const char* expected = left_alone.find(char(number)) != std::string::npos ? "default"
                               : ignored.find(char(number)) != std::string::npos  ? "ignored"
                                                                                  : "application";
        char text[64] = "";
        EXPECT_EQ(GetSignalVector(number, text), 1);
        EXPECT_EQ(text, name_of(number) + " (" + std::to_string(number) + "): " + expected);
    }
    for (int number : {-1, 0, 32, 33, 65}) {
        char text[64] = "untouched";
        EXPECT_EQ(GetSignalVector(number, text), 0);
        EXPECT_STREQ(text, "untouched");
    }
    EXPECT_EQ(GetSignalVector(SIGINT, nullptr), 0);
}

TEST(SignalVector, ShowsWhatTheApplicationChangedAndInstallingAgainLeavesAlone) {
    InstallSignalHandlers();
    signal(SIGHUP, SIG_IGN);
    void (*handler)(int) = [](int) {};
    signal(SIGUSR1, handler);
    InstallSignalHandlers();
    char text[64], expected[64];
    EXPECT_EQ(GetSignalVector(SIGHUP, text), 1);
    EXPECT_STREQ(text, "SIGHUP (1): ignored");
    snprintf(expected, sizeof expected, "SIGUSR1 (10): unknown (%p)", reinterpret_cast<void*>(handler));
    EXPECT_EQ(GetSignalVector(SIGUSR1, text), 1);
    EXPECT_STREQ(text, expected);
}
