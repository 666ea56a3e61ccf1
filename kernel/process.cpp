// CreateProcess on fork and execv.
//
// The program runs as an orphaned grandchild: the child between ends at once and is what the process record
// knows, so nobody has to collect the program, and nobody can.
#include "kernel/process.h"

#include "kernel/cancellation_point.h"
#include "text/convert.h"
#include <kalto/core.h>
#include <string.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kalto {
namespace {

// Keeps a record alive while this thread is inside a call on it.
class Reference {
  public:
    explicit Reference(HandleRecord& record) : record_(record) { InterlockedIncrement(&record_.references); }
    ~Reference() { release_reference(&record_); }
    Reference(const Reference&) = delete;
    Reference& operator=(const Reference&) = delete;

  private:
    HandleRecord& record_;
};

// What the program is started with. Everything is made before the fork: between fork and execv nothing may be
// allocated.
class Command {
  public:
    bool parse(LPCWSTR application, LPCWSTR command_line);
    [[noreturn]] void execute(bool inherit_handles);

  private:
    static constexpr size_t kMaximumWords = 127;
    void split();
    void choose_path(LPCWSTR application);

    std::string application_;
    std::string line_;
    char* words_[1 + kMaximumWords + 1] = {}; // path, words, and always a null at the end
};

bool Command::parse(LPCWSTR application, LPCWSTR command_line) {
    if (!to_narrow(application, application_) || !to_narrow(command_line, line_))
        return false;
    split();
    choose_path(application);
    return true;
}

// Deliberate: no quoting; words beyond the last place are dropped.
void Command::split() {
    char* rest = nullptr;
    char* word = strtok_r(line_.data(), " \t", &rest);
    for (size_t i = 1; i <= kMaximumWords && word != nullptr; ++i) {
        words_[i] = word;
        word = strtok_r(nullptr, " \t", &rest);
    }
}

void Command::choose_path(LPCWSTR application) {
    // Deliberate: taken from the command line, the path stays there as the first argument too.
    const bool from_line = application == nullptr && words_[1] != nullptr;
    words_[0] = from_line ? words_[1] : application_.data();
    for (char* at = words_[0]; *at != '\0'; ++at) {
        if (*at == '\\')
            *at = '/';
    }
}

void Command::execute(bool inherit_handles) {
    if (!inherit_handles)
        closeallhandles();
    execv(words_[0], words_);
    chmod(words_[0], 0755); // an update may have left the program without its mode
    execv(words_[0], words_);
    _exit(1);
}

pid_t start(Command& command, bool inherit_handles) {
    const pid_t child = fork();
    if (child != 0)
        return child;
    if (fork() == 0)
        command.execute(inherit_handles);
    _exit(1);
}

BOOL hand_out(pid_t child, LPPROCESS_INFORMATION information) {
    HandleRecord* record = nullptr;
    create_record(HT_PROCESS, nullptr, nullptr, nullptr, &record);
    if (record == nullptr) {
        if (child > 0)
            blocking_wait_for(child, 0);
        return FALSE;
    }
    reinterpret_cast<ProcessRecord*>(record)->pid = child;
    // Deliberate, all of it: applications of the device find the handle to wait for in hThread.
    information->hProcess = nullptr;
    information->hThread = record;
    information->dwProcessId = 0xFFFFFFFFu;
    return TRUE;
}

} // namespace

void wait_for_child(ProcessRecord& process) {
    const Reference held(process.head);
    // A fork that failed left no child; and one that was collected may have left its number to another.
    if (process.pid <= 0 || InterlockedExchangeAdd(&process.reaped, 0) != 0)
        return;
    blocking_wait_for(process.pid, 0);
    InterlockedExchange(&process.reaped, 1);
}

} // namespace kalto

DWORD GetCurrentProcessId(void) {
    return static_cast<DWORD>(getpid());
}

BOOL CreateProcess(LPCWSTR lpApplicationName, LPWSTR lpCommandLine, LPSECURITY_ATTRIBUTES lpProcessAttributes,
                   LPSECURITY_ATTRIBUTES lpThreadAttributes, BOOL bInheritHandles, DWORD dwCreationFlags,
                   LPVOID lpEnvironment, LPCWSTR lpCurrentDirectory, LPSTARTUPINFO lpStartupInfo,
                   LPPROCESS_INFORMATION lpProcessInformation) {
    UNREFERENCED_PARAMETER(lpProcessAttributes);
    UNREFERENCED_PARAMETER(lpThreadAttributes);
    UNREFERENCED_PARAMETER(dwCreationFlags);
    UNREFERENCED_PARAMETER(lpEnvironment);
    UNREFERENCED_PARAMETER(lpCurrentDirectory);
    UNREFERENCED_PARAMETER(lpStartupInfo);
    InstallSignalHandlers();
    kalto::Command command;
    if (!command.parse(lpApplicationName, lpCommandLine))
        return FALSE;
    const pid_t child = kalto::start(command, bInheritHandles != FALSE);
    if (lpProcessInformation != nullptr)
        return kalto::hand_out(child, lpProcessInformation);
    if (child > 0)
        kalto::blocking_wait_for(child, WUNTRACED);
    return TRUE;
}
