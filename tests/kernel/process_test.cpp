#include "kernel/handle_record.h"
#include "tests/kernel/sleeper.h"

#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace kalto_test;

namespace {

// A directory with a script that writes its arguments, one a line, to a file and then ends.
class Program {
  public:
    Program() {
        char name[] = "/tmp/kalto_process_XXXXXX";
        directory_ = mkdtemp(name);
        std::ofstream script(path());
        script << "#!/bin/sh\nprintf '%s\\n' \"$0\" \"$@\" >'" << directory_ << "/part'\n"
               << "echo $PPID >'" << directory_ << "/parent'\n"
               << "readlink /proc/$$/fd/0 >'" << directory_ << "/input'\n"
               << "mv '" << directory_ << "/part' '" << directory_ << "/written'\n";
        script.close();
        chmod(path().c_str(), 0755);
    }
    ~Program() { static_cast<void>(system(("rm -r " + directory_).c_str())); }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    std::string path() const { return directory_ + "/program"; }
    std::wstring wide(char separator) const {
        std::wstring text;
        for (const char c : path())
            text += static_cast<wchar_t>(c == '/' ? separator : c);
        return text;
    }
    // What the program wrote, once it has.
    std::string written() const {
        const std::string file = directory_ + "/written";
        for (int tries = 0; access(file.c_str(), F_OK) != 0; ++tries) {
            if (tries > 20000 * KALTO_TEST_TIME_FACTOR)
                return "nothing";
            usleep(500);
        }
        std::stringstream text;
        text << std::ifstream(file).rdbuf();
        unlink(file.c_str());
        return text.str();
    }
    std::string line_of(const char* name) const {
        std::string line;
        std::ifstream file(directory_ + "/" + name);
        std::getline(file, line);
        return line;
    }

  private:
    std::string directory_;
};

BOOL run(LPCWSTR application, std::wstring line, BOOL inherit, LPPROCESS_INFORMATION information) {
    return CreateProcess(application, line.data(), nullptr, nullptr, inherit, 0, nullptr, nullptr, nullptr,
                         information);
}

TEST(Process, PathAndArguments) {
    const Program program;
    const std::string slashes = program.path();
    const std::wstring with_backslashes = program.wide('\\');
    EXPECT_TRUE(run(with_backslashes.c_str(), L"one \t \"two\" a\\b", TRUE, nullptr));
    EXPECT_EQ(program.written(), slashes + "\none\n\"two\"\na\\b\n");
    // Without an application name the program sees its path twice.
    EXPECT_TRUE(run(nullptr, with_backslashes + L" x", TRUE, nullptr));
    EXPECT_EQ(program.written(), slashes + "\n" + slashes + "\nx\n");
    EXPECT_TRUE(CreateProcess(with_backslashes.c_str(), nullptr, nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                              nullptr, nullptr));
    EXPECT_EQ(program.written(), slashes + "\n");
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "no child is left behind";
}

TEST(Process, TakesAtMost127Words) {
    const Program program;
    std::wstring line;
    std::string expected = program.path() + "\n";
    for (int i = 0; i < 200; ++i) {
        line += L" w" + std::to_wstring(i);
        if (i < 127)
            expected += "w" + std::to_string(i) + "\n";
    }
    EXPECT_TRUE(run(program.wide('/').c_str(), line, TRUE, nullptr));
    EXPECT_EQ(program.written(), expected);
}

TEST(Process, GetsItsModeWhenItHasNone) {
    const Program program;
    chmod(program.path().c_str(), 0600);
    EXPECT_TRUE(run(program.wide('/').c_str(), L"", TRUE, nullptr));
    EXPECT_EQ(program.written(), program.path() + "\n");
    struct stat status {};
    stat(program.path().c_str(), &status);
    EXPECT_EQ(status.st_mode & 07777, mode_t{0755});
}

// Deliberate: hThread holds the handle, and it stands for the helper process, which ends at once.
TEST(Process, InformationHoldsOneHandleInhThread) {
    const Program program;
    PROCESS_INFORMATION information{INVALID_HANDLE_VALUE, INVALID_HANDLE_VALUE, 1, 2};
    ASSERT_TRUE(run(program.wide('/').c_str(), L"x", FALSE, &information));
    EXPECT_EQ(information.hProcess, nullptr);
    EXPECT_EQ(information.dwProcessId, 0xFFFFFFFFu);
    EXPECT_EQ(information.dwThreadId, 2u);
    EXPECT_EQ(WaitForSingleObject(information.hThread, 0), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(WaitForMultipleObjects(1, &information.hThread, FALSE, INFINITE), DWORD{WAIT_OBJECT_0});
    EXPECT_TRUE(CloseHandle(information.hThread));
    EXPECT_EQ(program.written(), program.path() + "\nx\n");
    EXPECT_EQ(program.line_of("input"), "/dev/null") << "nothing is inherited";
    EXPECT_NE(program.line_of("parent"), std::to_string(getpid())) << "it is nobody's child to collect";
}

TEST(Process, AProgramThatDoesNotExistIsNotNoticed) {
    PROCESS_INFORMATION information{};
    EXPECT_TRUE(run(L"\\no\\such\\program", L"", TRUE, &information));
    CloseHandle(information.hThread);
    EXPECT_TRUE(run(nullptr, L"", TRUE, nullptr));
    EXPECT_FALSE(run(L"/\xD800\x7FFFFFFF", L"", TRUE, nullptr)) << "no such text in any locale";
}

TEST(ProcessRecord, AChildIsWaitedForUntilItEndsAndCollectedOnce) {
    const pid_t child = fork();
    if (child == 0) {
        usleep(100000);
        _exit(0);
    }
    HANDLE handle = nullptr;
    create_handle(HT_PROCESS, nullptr, &handle);
    kalto::process_record_of(handle)->pid = child;
    EXPECT_EQ(WaitForSingleObject(handle, 1), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(waitpid(child, nullptr, WNOHANG), -1) << "collected";
    CloseHandle(handle);
}

TEST(ProcessRecord, OfAForkThatFailedTakesNobodyElsesChild) {
    const pid_t child = fork();
    if (child == 0)
        _exit(0);
    HANDLE handle = nullptr;
    create_handle(HT_PROCESS, nullptr, &handle);
    kalto::process_record_of(handle)->pid = -1;
    EXPECT_EQ(WaitForSingleObject(handle, INFINITE), DWORD{WAIT_OBJECT_0});
    CloseHandle(handle);
    EXPECT_EQ(waitpid(child, nullptr, 0), child);
}

TEST(CloseAllHandles, LeavesThreeDescriptorsOnTheNullDevice) {
    const pid_t child = fork();
    if (child == 0) {
        const int many[] = {open("/", O_RDONLY), dup2(0, 700)};
        if (closeallhandles() != 0)
            _exit(1);
        for (const int descriptor : many) {
            if (fcntl(descriptor, F_GETFD) != -1 && descriptor > 2)
                _exit(2);
        }
        char target[32] = {};
        for (int i = 0; i < 3; ++i) {
            const std::string link = "/proc/self/fd/" + std::to_string(i);
            if (readlink(link.c_str(), target, sizeof target - 1) < 0 || std::string(target) != "/dev/null")
                _exit(3);
        }
        _exit(getsid(0) == getpid() ? 0 : 4);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

} // namespace
