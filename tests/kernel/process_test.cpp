#include "tests/kernel/sleeper.h"
#include "tests/scratch.h"

#include <sys/wait.h>

using namespace kalto_test;

namespace {

// A script that writes its arguments, one a line, and what else it was started with.
class Program : public Scratch {
  public:
    Program() {
        put("program",
            "#!/bin/sh\n"
            "cd '" +
                path() +
                "'\n"
                "printf '%s\\n' \"$0\" \"$@\" >part\n"
                "echo $PPID >parent\n"
                "[ $(cut -d ' ' -f 6 /proc/$$/stat) = $$ ] && echo own >session\n"
                "(cd /proc/$$/fd && readlink 0 1 2 700) >descriptors\n"
                "mv part written\n",
            0755);
    }
    std::string file() const { return path("program"); }
    // What the program wrote, once it has.
    std::string written() const {
        for (int tries = 0; access(path("written").c_str(), F_OK) != 0; ++tries) {
            if (tries > 20000 * KALTO_TEST_TIME_FACTOR)
                return "nothing";
            usleep(500);
        }
        const std::string text = get("written");
        unlink(path("written").c_str());
        return text;
    }
};

BOOL run(LPCWSTR application, LPWSTR line, BOOL inherit, LPPROCESS_INFORMATION information) {
    return CreateProcess(application, line, nullptr, nullptr, inherit, 0, nullptr, nullptr, nullptr,
                         information);
}

// Deliberate: no quoting, and without an application name the program sees its path twice.
TEST(Process, PathAndArguments) {
    const Program program;
    const std::wstring path = program.wide("program"); // with backslashes
    std::wstring many;
    std::string first_127;
    for (int i = 0; i < 200; ++i) {
        many += L" w" + std::to_wstring(i);
        first_127 += i < 127 ? "w" + std::to_string(i) + "\n" : "";
    }
    struct Case {
        LPCWSTR application;
        std::wstring line;
        std::string arguments;
    };
    for (const Case& c : {Case{path.c_str(), L"one \t \"two\" a\\b", "one\n\"two\"\na\\b\n"},
                          Case{nullptr, path + L" x", program.file() + "\nx\n"}, Case{path.c_str(), L"", ""},
                          Case{path.c_str(), many, first_127}}) {
        std::wstring line = c.line;
        EXPECT_TRUE(run(c.application, line.empty() ? nullptr : line.data(), TRUE, nullptr));
        EXPECT_EQ(program.written(), program.file() + "\n" + c.arguments);
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "no child is left behind";
    }
}

// Deliberate: hThread holds the handle, and it stands for the helper process, which ends at once.
TEST(Process, InformationHoldsOneHandleInhThread) {
    const Program program;
    chmod(program.file().c_str(), 0600); // which the start puts right
    dup2(0, 700);
    PROCESS_INFORMATION information{INVALID_HANDLE_VALUE, INVALID_HANDLE_VALUE, 1, 2};
    ASSERT_TRUE(run(program.wide("program").c_str(), nullptr, FALSE, &information));
    EXPECT_EQ(information.hProcess, nullptr);
    EXPECT_EQ(information.dwProcessId, 0xFFFFFFFFu);
    EXPECT_EQ(information.dwThreadId, 2u);
    EXPECT_EQ(poll(information.hThread), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForMultipleObjects(1, &information.hThread, FALSE, INFINITE), WAIT_OBJECT_0);
    EXPECT_TRUE(CloseHandle(information.hThread));
    EXPECT_EQ(program.written(), program.file() + "\n");
    EXPECT_EQ(program.get("descriptors"), "/dev/null\n/dev/null\n/dev/null\n") << "nothing is inherited";
    EXPECT_EQ(program.get("session"), "own\n");
    EXPECT_NE(program.get("parent"), std::to_string(getpid()) + "\n") << "it is nobody's child to collect";
    EXPECT_EQ(program.status("program").st_mode & 07777, mode_t{0755});
}

TEST(Process, AProgramThatDoesNotExistIsNotNoticed) {
    PROCESS_INFORMATION information{};
    EXPECT_TRUE(run(L"\\no\\such\\program", nullptr, TRUE, &information));
    CloseHandle(information.hThread);
    EXPECT_TRUE(run(nullptr, nullptr, TRUE, nullptr));
    EXPECT_FALSE(run(L"/\xD800\x7FFFFFFF", nullptr, TRUE, nullptr)) << "no such text in any locale";
}

TEST(ProcessRecord, AChildIsWaitedForUntilItEndsAndCollectedOnce) {
    const pid_t child = fork();
    if (child == 0) {
        usleep(100000);
        _exit(0);
    }
    for (const pid_t pid : {pid_t{-1}, child}) { // -1: of a fork that failed; it takes nobody else's child
        HANDLE handle = nullptr;
        create_handle(HT_PROCESS, nullptr, &handle);
        kalto::process_record_of(handle)->pid = pid;
        EXPECT_EQ(WaitForSingleObject(handle, 1), WAIT_OBJECT_0);
        EXPECT_EQ(waitpid(child, nullptr, WNOHANG), pid == child ? -1 : 0) << "collected, or still there";
        CloseHandle(handle);
    }
}

} // namespace
