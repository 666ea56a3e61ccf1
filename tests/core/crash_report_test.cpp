#include "tests/child_process.h"

#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>
#include <kalto/core.h>
#include <regex.h>

namespace {

// The parenthesized parts of a text that an extended expression matches as a whole; nothing when it does not.
std::vector<std::string> match(const std::string& text, const std::string& pattern) {
    regex_t expression;
    regmatch_t parts[4];
    if (regcomp(&expression, ("^" + pattern + "$").c_str(), REG_EXTENDED) != 0)
        abort();
    std::vector<std::string> found;
    if (regexec(&expression, text.c_str(), 4, parts, 0) == 0)
        for (const regmatch_t& part : parts)
            if (part.rm_so >= 0)
                found.push_back(text.substr(size_t(part.rm_so), size_t(part.rm_eo - part.rm_so)));
    regfree(&expression);
    return found;
}

// The whole report but for the trace: a report that is cut, doubled or mixed with another one does not match.
std::string report(const std::string& signal, pid_t pid, const std::string& code,
                   const std::string& trace = "") {
    // Under emulation the process has the emulator's number, which is the child's.
    std::string text = "Received signal: " + signal + " \\(PID = " + std::to_string(pid) + "\\)\n";
    text +=
        "info\\.si_errno = 0\ninfo\\.si_code  = " + code + "\ninfo\\.si_addr  = (0x[0-9a-f]+|\\(nil\\))\n";
    for (int i = 0; i < 18; i++)
        text += (i < 10 ? "reg\\[0" : "reg\\[") + std::to_string(i) + "\\]= 0x[0-9a-f]{8,16}\n";
    return text + "Stack trace:\n" + trace + "End of stack trace\n";
}

struct CrashCase {
    const char* mode;
    const char* signal;
    const char* code;
};

std::ostream& operator<<(std::ostream& out, const CrashCase& test) {
    return out << test.mode;
}

const CrashCase kCrashes[] = {
    {"write", "SIGSEGV", "1 \\(SEGV_MAPERR\\)"},
    {"read-only", "SIGSEGV", "2 \\(SEGV_ACCERR\\)"},
    {"abort", "SIGABRT", "-6 \\(\\)"},
    {"thread", "SIGSEGV", "1 \\(SEGV_MAPERR\\)"},
    {"together", "SIGSEGV", "1 \\(SEGV_MAPERR\\)"},
    {"overflow", "SIGSEGV", "[12] \\(SEGV_(MAPERR|ACCERR)\\)"},
    {"overflow-on-thread", "SIGSEGV", "[12] \\(SEGV_(MAPERR|ACCERR)\\)"},
};

class CrashReport : public testing::TestWithParam<CrashCase> {};

struct SignalCase {
    int number;
    const char* expected; // null: the disposition cannot be read
};

const SignalCase kSignals[] = {
    {SIGHUP, "SIGHUP (1): application"},
    {SIGINT, "SIGINT (2): default"},
    {SIGABRT, "SIGABRT (6): application"},
    {SIGKILL, "SIGKILL (9): default"},
    {SIGPIPE, "SIGPIPE (13): ignored"},
    {SIGALRM, "SIGALRM (14): ignored"},
    {SIGTERM, "SIGTERM (15): default"},
    {16, "SIGSTKFLT (16): application"},
    {SIGCHLD, "SIGCHLD (17): default"},
    {SIGTTOU, "SIGTTOU (22): default"},
    {SIGURG, "SIGURG (23): application"},
    {SIGXCPU, "SIGXCPU (24): application"},
    {SIGPROF, "SIGPROF (27): ignored"},
    {SIGWINCH, "SIGWINCH (28): default"},
    {SIGIO, "SIGIO (29): application"},
    {SIGPWR, "SIGPWR (30): application"},
    {SIGSYS, "SIGSYS (31): application"},
    {34, "Unknown (34): application"},
    {60, "Unknown (60): application"},
    {32, nullptr},
    {33, nullptr},
    {0, nullptr},
    {65, nullptr},
    {-1, nullptr},
};

} // namespace

TEST_P(CrashReport, IsWholeAndEndsTheProcess) {
    ChildResult child = run_child(START_APP, {GetParam().mode});
    EXPECT_EQ(child.status, 1);
    EXPECT_FALSE(match(child.err, report(GetParam().signal, child.pid, GetParam().code)).empty())
        << child.err;
}

INSTANTIATE_TEST_SUITE_P(, CrashReport, testing::ValuesIn(kCrashes), [](const auto& test) {
    std::string name = test.param.mode;
    name.erase(std::remove(name.begin(), name.end(), '-'), name.end());
    return name;
});

TEST(CrashReportTrace, WalksTheSignalStackByWordsUpToMain) {
    ChildResult child = run_child(START_APP, {"walk"});
    std::vector<std::string> found = match(child.err, ".*Stack trace:\n"
                                                      " 1: 0x([0-9a-f]+) <first\\+100> \\(object\\.so\\)\n"
                                                      " 2: 0x([0-9a-f]+) <second\\+104> \\(object\\.so\\)\n"
                                                      " 3: 0x([0-9a-f]+) <main\\+108> \\(object\\.so\\)\n"
                                                      "End of stack trace\n");
    ASSERT_EQ(found.size(), 4u) << child.err;
    auto address = [&found](size_t i) { return std::stoull(found[i], nullptr, 16); };
    EXPECT_EQ(address(2), address(1) + 4);
    EXPECT_EQ(address(3), address(1) + 8);
}

TEST(CrashReportTrouble, EndsTheProcessWhenTheReportItselfFails) {
    for (const char* mode : {"fault-in-report", "stuck-report"}) {
        ChildResult child = run_child(START_APP, {mode});
        EXPECT_EQ(child.status, 1) << mode;
        EXPECT_EQ(child.err.find("Received signal: SIGSEGV"), 0u) << mode;
    }
}

TEST(CrashReportTrouble, AlarmsAndChildrenAreNone) {
    ChildResult child = run_child(START_APP, {"survive"});
    EXPECT_EQ(child.status, 0);
    EXPECT_EQ(child.err, "");
}

TEST(CrashReportTrouble, AnUncaughtExceptionIsReportedAsAnAbort) {
    ChildResult child = run_child(START_APP, {"uncaught"});
    EXPECT_EQ(child.status, 1);
    EXPECT_NE(child.err.find("Received signal: SIGABRT"), std::string::npos) << child.err;
}

TEST(SignalVector, TellsWhatEachSignalDoes) {
    InstallSignalHandlers();
    for (const SignalCase& test : kSignals) {
        char text[64] = "untouched";
        EXPECT_EQ(GetSignalVector(test.number, text), test.expected != nullptr ? 1 : 0) << test.number;
        EXPECT_STREQ(text, test.expected != nullptr ? test.expected : "untouched");
    }
    EXPECT_EQ(GetSignalVector(SIGINT, nullptr), 0);
}

TEST(SignalVector, NamesAHandlerOfTheApplicationByItsAddress) {
    signal(SIGUSR1, [](int) {});
    char expected[64];
    struct sigaction action = {};
    sigaction(SIGUSR1, nullptr, &action);
    snprintf(expected, sizeof expected, "SIGUSR1 (10): unknown (%p)",
             reinterpret_cast<void*>(action.sa_handler));
    char text[64];
    EXPECT_EQ(GetSignalVector(SIGUSR1, text), 1);
    EXPECT_STREQ(text, expected);
    signal(SIGUSR1, SIG_DFL);
}

TEST(InstallSignalHandlers, DoesItOnceAndLeavesLaterChangesAlone) {
    InstallSignalHandlers();
    signal(SIGHUP, SIG_IGN);
    InstallSignalHandlers();
    char text[64];
    GetSignalVector(SIGHUP, text);
    EXPECT_STREQ(text, "SIGHUP (1): ignored");
}
