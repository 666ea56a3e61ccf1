#include "sandbox.h"

#include <cerrno>
#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <fstream>
#include <ftw.h>
#include <mutex>
#include <semaphore.h>
#include <sstream>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

std::vector<std::string> g_log;

char g_lockMade[64];
int g_lockError = 0;

namespace {

sem_t* g_lock = nullptr;

void new_lock() {
    void* shared = mmap(nullptr, sizeof(sem_t), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    g_lock = static_cast<sem_t*>(shared);
    ASSERT_EQ(sem_init(g_lock, 1, 1), 0);
}

} // namespace

#define INTERPOSED extern "C" __attribute__((visibility("default")))

INTERPOSED sem_t* sem_open(const char* name, int flags, ...) {
    static std::mutex guard;
    const std::lock_guard<std::mutex> lock(guard);
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

INTERPOSED void vsyslog(int priority, const char* format, va_list arguments) {
    static std::mutex guard;
    char text[1024];
    vsnprintf(text, sizeof text, format, arguments);
    const std::lock_guard<std::mutex> lock(guard);
    g_log.push_back(std::to_string(priority) + ": " + text);
}

INTERPOSED void syslog(int priority, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    vsyslog(priority, format, arguments);
    va_end(arguments);
}

namespace {

int remove_entry(const char* path, const struct stat*, int, struct FTW*) {
    return remove(path);
}

} // namespace

Sandbox::Sandbox() {
    setlocale(LC_ALL, "C.UTF-8");
    char name[] = "/tmp/kalto_registry_XXXXXX";
    directory = mkdtemp(name);
    mkdir((directory + "/var").c_str(), 0755);
    mkdir((directory + "/var/zel").c_str(), 0755);
    g_sandboxDir = directory.c_str();
    new_lock();
}

Sandbox::~Sandbox() {
    g_sandboxDir = "";
    nftw(directory.c_str(), remove_entry, 8, FTW_DEPTH | FTW_PHYS);
}

std::string Sandbox::read(const char* name) const {
    std::ifstream file(path(name));
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void Sandbox::write(const std::string& text, const char* name) const {
    std::ofstream(path(name)) << text;
}

bool Sandbox::exists(const char* name) const {
    return access(path(name).c_str(), F_OK) == 0;
}

void Sandbox::write_registry(const std::string& inside) const {
    write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Registry>\n" + inside + "\n</Registry>\n");
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
    const LONG error = RegCreateKeyEx(root, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    return error == ERROR_SUCCESS ? key : nullptr;
}

LONG set_string(HKEY key, const wchar_t* name, const wchar_t* text) {
    return RegSetValueEx(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text),
                         static_cast<DWORD>((wcslen(text) + 1) * sizeof(wchar_t)));
}

LONG set_number(HKEY key, const wchar_t* name, DWORD number) {
    return RegSetValueEx(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number);
}

std::wstring get_string(HKEY key, const wchar_t* name) {
    std::vector<wchar_t> buffer(4096);
    DWORD size = static_cast<DWORD>(buffer.size() * sizeof(wchar_t));
    const LONG error =
        RegQueryValueEx(key, name, nullptr, nullptr, reinterpret_cast<LPBYTE>(buffer.data()), &size);
    return error == ERROR_SUCCESS ? buffer.data() : L"error " + std::to_wstring(error);
}

long long get_number(HKEY key, const wchar_t* name) {
    DWORD number = 0;
    DWORD size = sizeof number;
    const LONG error = RegQueryValueEx(key, name, nullptr, nullptr, reinterpret_cast<LPBYTE>(&number), &size);
    return error == ERROR_SUCCESS ? static_cast<long long>(number) : -static_cast<long long>(error);
}

long long number_at(const wchar_t* path, const wchar_t* name) {
    HKEY key = nullptr;
    const LONG error = RegOpenKeyEx(HKEY_LOCAL_MACHINE, path, 0, KEY_READ, &key);
    if (error != ERROR_SUCCESS)
        return -static_cast<long long>(error);
    const long long number = get_number(key, name);
    RegCloseKey(key);
    return number;
}

std::vector<std::wstring> sub_keys(HKEY key) {
    std::vector<std::wstring> names;
    wchar_t name[256];
    DWORD length = 256;
    for (DWORD i = 0; RegEnumKeyEx(key, i, name, &length, nullptr, nullptr, nullptr, nullptr) == 0; ++i) {
        names.emplace_back(name);
        length = 256;
    }
    return names;
}
