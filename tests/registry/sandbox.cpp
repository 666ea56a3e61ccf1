#include "sandbox.h"

#include <cerrno>
#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <mutex>
#include <semaphore.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

std::vector<std::string> g_log;
char g_lockMade[64];
int g_lockError = 0;

namespace {

sem_t* g_lock = nullptr;
std::mutex g_guard;

void new_lock() {
    void* shared = mmap(nullptr, sizeof(sem_t), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    g_lock = static_cast<sem_t*>(shared);
    ASSERT_EQ(sem_init(g_lock, 1, 1), 0);
}

} // namespace

#define INTERPOSED extern "C" __attribute__((visibility("default")))

INTERPOSED sem_t* sem_open(const char* name, int flags, ...) {
    const std::lock_guard<std::mutex> lock(g_guard);
    va_list arguments;
    va_start(arguments, flags);
    errno = g_lockError;
    if (errno == 0 && (flags & O_CREAT) != 0) {
        const auto mode = static_cast<unsigned>(va_arg(arguments, mode_t));
        snprintf(g_lockMade, sizeof g_lockMade, "%s %o %u", name, mode, va_arg(arguments, unsigned));
    } else if (errno == 0 && g_lockMade[0] == '\0') {
        errno = ENOENT;
    }
    va_end(arguments);
    return errno == 0 ? g_lock : SEM_FAILED;
}

INTERPOSED void syslog(int priority, const char* format, ...) {
    const std::lock_guard<std::mutex> lock(g_guard);
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    g_log.push_back(std::to_string(priority) + ": " + text);
}

Sandbox::Sandbox() {
    setlocale(LC_ALL, "C.UTF-8");
    char name[] = "/tmp/kalto_registry_XXXXXX";
    directory = mkdtemp(name);
    std::filesystem::create_directories(directory + "/var/zel");
    g_sandboxDir = directory.c_str();
    new_lock();
}

Sandbox::~Sandbox() {
    g_sandboxDir = "";
    std::filesystem::remove_all(directory);
}

void Sandbox::set_time(time_t seconds, long nanoseconds) const {
    const struct timespec times[2] = {{seconds, nanoseconds}, {seconds, nanoseconds}};
    ASSERT_EQ(utimensat(AT_FDCWD, path().c_str(), times, 0), 0);
}

int in_child(const std::function<int()>& work) {
    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        new_lock();
        const int status = work();
        _exit(::testing::Test::HasFailure() ? 99 : status);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

HKEY open_key(const wchar_t* path, HKEY root) {
    HKEY key = nullptr;
    return RegOpenKeyEx(root, path, 0, KEY_READ, &key) == ERROR_SUCCESS ? key : nullptr;
}

HKEY create_key(const wchar_t* path, HKEY root) {
    HKEY key = nullptr;
    RegCreateKeyEx(root, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    return key;
}

LONG open_code(HKEY parent, const wchar_t* path) {
    HKEY key = nullptr;
    const LONG error = RegOpenKeyEx(parent, path, 0, KEY_READ, &key);
    RegCloseKey(key);
    return error;
}

LONG create_code(HKEY parent, const std::wstring& path) {
    HKEY key = nullptr;
    const LONG error = RegCreateKeyEx(parent, path.c_str(), 0, nullptr, 0, 0, nullptr, &key, nullptr);
    RegCloseKey(key);
    return error;
}

LONG set_string(HKEY key, const wchar_t* name, const wchar_t* text) {
    const auto size = static_cast<DWORD>((wcslen(text) + 1) * sizeof(wchar_t));
    return RegSetValueEx(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text), size);
}

LONG set_number(HKEY key, const wchar_t* name, DWORD number) {
    return RegSetValueEx(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number);
}

std::wstring get_string(HKEY key, const wchar_t* name) {
    wchar_t text[4096];
    DWORD size = sizeof text;
    const LONG error = RegQueryValueEx(key, name, nullptr, nullptr, reinterpret_cast<LPBYTE>(text), &size);
    return error == ERROR_SUCCESS ? text : L"error " + std::to_wstring(error);
}

long long get_number(HKEY key, const wchar_t* name) {
    DWORD number = 0;
    DWORD size = sizeof number;
    const LONG error = RegQueryValueEx(key, name, nullptr, nullptr, reinterpret_cast<LPBYTE>(&number), &size);
    return error == ERROR_SUCCESS ? number : -static_cast<long long>(error);
}

long long number_at(const wchar_t* path, const wchar_t* name) {
    HKEY key = open_key(path);
    const long long number = get_number(key, name);
    RegCloseKey(key);
    return number;
}

std::wstring sub_key(HKEY key, DWORD index) {
    wchar_t name[256];
    DWORD length = 256;
    return RegEnumKeyEx(key, index, name, &length, nullptr, nullptr, nullptr, nullptr) == 0 ? name : L"end";
}

std::vector<std::wstring> sub_keys(HKEY key) {
    std::vector<std::wstring> names;
    for (DWORD i = 0; names.empty() || names.back() != L"end"; ++i)
        names.push_back(sub_key(key, i));
    names.pop_back();
    return names;
}
