// Takes the input as a registry file, however an editor left it: reads all of it through the interface,
// changes a little, and saves. The file that is left must parse, and what was written must be found.
#include "registry/store.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <kalto/registry.h>
#include <semaphore.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

// Neither the machine's lock nor its log.
extern "C" sem_t* sem_open(const char* /*name*/, int /*flags*/, ...) {
    static sem_t lock;
    sem_init(&lock, 0, 1);
    return &lock;
}
extern "C" void syslog(int /*priority*/, const char* /*format*/, ...) {}

namespace {

void require(bool good) {
    if (!good)
        abort();
}

std::string g_folder;

void remove_folder() {
    for (const char* name : {"/var/zel/registry.xml", "/var/zel/registry.xml.new", "/var/zel", "/var", ""})
        remove((g_folder + name).c_str());
}

void make_folder() {
    g_folder = "/tmp/kalto_fuzz_XXXXXX";
    require(mkdtemp(&g_folder[0]) != nullptr);
    mkdir((g_folder + "/var").c_str(), 0700);
    mkdir((g_folder + "/var/zel").c_str(), 0700);
    g_sandboxDir = g_folder.c_str();
    atexit(remove_folder);
}

// Each input's file is newer than the one before.
void write_file(const uint8_t* data, size_t size) {
    static time_t seconds = 4000000;
    const std::string path = g_folder + "/var/zel/registry.xml";
    FILE* file = fopen(path.c_str(), "wb");
    require(file != nullptr && fwrite(data, 1, size, file) == size);
    fclose(file);
    const struct timespec times[2] = {{++seconds, 0}, {seconds, 0}};
    utimensat(AT_FDCWD, path.c_str(), times, 0);
    g_stRegFileStats.st_mtim = {0, 0};
    kalto::g_regDirty = false; // changes of a file that could not be written back
}

void read_all(HKEY key) {
    wchar_t name[64];
    BYTE data[16];
    for (DWORD i = 0, length = 64, size = sizeof data, type = 0;; ++i, length = 64, size = sizeof data) {
        const LONG result = RegEnumValue(key, i, name, &length, nullptr, &type, data, &size);
        if (result == 2)
            break;
        require(result == 0 || result == 22 || result == 90 || result == 1016);
        size = i % 5;
        RegQueryValueEx(key, name, nullptr, &type, data, &size);
    }
    for (DWORD i = 0, length = 64;; ++i, length = 64) {
        const LONG result = RegEnumKeyEx(key, i, name, &length, nullptr, nullptr, nullptr, nullptr);
        if (result == 2)
            break;
        HKEY child = nullptr;
        if (result == 0 && name[0] != L'\0' && RegOpenKeyEx(key, name, 0, 0, &child) == 0) {
            // A path may lead to another key than the one that was listed, but never up.
            read_all(child);
            RegCloseKey(child);
        }
    }
    DWORD counts[5];
    require(RegQueryInfoKey(key, nullptr, nullptr, nullptr, &counts[0], &counts[1], nullptr, &counts[2],
                            &counts[3], &counts[4], nullptr, nullptr) == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (g_folder.empty())
        make_folder();
    write_file(data, size);
    HKEY key = nullptr;
    if (RegOpenKeyEx(HKEY_LOCAL_MACHINE, L"", 0, 0, &key) != 0)
        return 0;
    read_all(key);
    for (const wchar_t* name : {L"m", L"", L"a", L"zz"}) {
        const BYTE number[4] = {7, 0, 0, 0};
        BYTE found[4] = {};
        DWORD room = sizeof found;
        require(RegSetValueEx(key, name, 0, REG_DWORD, number, sizeof number) == 0);
        require(RegQueryValueEx(key, name, nullptr, nullptr, found, &room) == 0 && found[0] == 7);
    }
    require(RegDeleteValue(key, L"a") == 0);
    RegDeleteKey(key, L"k");
    RegCloseKey(key);
    require(VerifyRegistry((g_folder + "/var/zel/registry.xml").c_str()) != 0);
    return 0;
}
