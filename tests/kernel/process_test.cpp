#include "tests/kernel/sleeper.h"
#include "tests/scratch.h"

#include <sys/wait.h>

using namespace kalto_test;

namespace {

// A script that tells its arguments, one a line, and what else it was started with.
class Program : public Scratch {
  public:
    const std::string file = path("program");
    const std::wstring application = wide("program"); // with backslashes

    Program() {
        mkfifo(path("told").c_str(), 0600);
        put("program",
            "#!/bin/sh\ncd " + path() + "\n(cd /proc/$$/fd && readlink 0 1 2 700) >facts\n" +
                "[ $(cut -d ' ' -f 6 /proc/$$/stat) = $$ ] && echo own session >>facts\n" +
                "[ $PPID = " + std::to_string(getpid()) + " ] || echo nobody to collect it >>facts\n" +
                "printf '%s\\n' \"$0\" \"$@\" >told\n",
            0755);
    }
    std::string told() const { return get("told"); } // once it has
};

BOOL run(LPCWSTR application, LPWSTR line, BOOL inherit, LPPROCESS_INFORMATION information) {
    return CreateProcess(application, line, nullptr, nullptr, inherit, 0, nullptr, nullptr, nullptr,
                         information);
}

// Deliberate: no quoting, and without an application name the program sees its path twice.
TEST(Process, PathAndArguments) {
    const Program program;
    std::wstring many;
    std::string first_127;
    for (int i = 0; i < 200; ++i) {
        many += L" w" + std::to_wstring(i);
        first_127 += i < 127 ? "w" + std::to_string(i) + "\n" : "";
    }
    const LPCWSTR path = program.application.c_str();
    struct Case {
        LPCWSTR application;
        std::wstring line;
        std::string arguments;
    };
    for (Case c : {Case{path, L"one \t \"two\" a\\b", "one\n\"two\"\na\\b\n"}, Case{path, many, first_127},
                   Case{nullptr, path + std::wstring(L" x"), program.file + "\nx\n"}, Case{path, L"", ""}}) {
        EXPECT_TRUE(run(c.application, c.line.empty() ? nullptr : c.line.data(), TRUE, nullptr));
        EXPECT_EQ(program.told(), program.file + "\n" + c.arguments);
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "no child is left behind";
    }
}

// Deliberate: hThread holds the handle, and it stands for the helper process, which ends at once.
TEST(Process, InformationHoldsOneHandleInhThread) {
    const Program program;
    chmod(program.file.c_str(), 0600); // which the start puts right
    dup2(0, 700);
    PROCESS_INFORMATION information{INVALID_HANDLE_VALUE, INVALID_HANDLE_VALUE, 1, 2};
    ASSERT_TRUE(run(program.application.c_str(), nullptr, FALSE, &information));
    EXPECT_EQ(information.hProcess, nullptr);
    EXPECT_EQ(information.dwProcessId, 0xFFFFFFFFu);
    EXPECT_EQ(information.dwThreadId, 2u);
    EXPECT_EQ(poll(information.hThread), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForMultipleObjects(1, &information.hThread, FALSE, INFINITE), WAIT_OBJECT_0);
    EXPECT_TRUE(CloseHandle(information.hThread));
    EXPECT_EQ(program.told(), program.file + "\n");
    EXPECT_EQ(program.get("facts"), "/dev/null\n/dev/null\n/dev/null\nown session\nnobody to collect it\n");
    EXPECT_EQ(program.status("program").st_mode & 07777, mode_t{0755});
}

TEST(Process, AProgramThatDoesNotExistIsNotNoticed) {
    EXPECT_TRUE(run(L"\\no\\such\\program", nullptr, TRUE, nullptr));
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
