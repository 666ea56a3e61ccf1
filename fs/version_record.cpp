// Version records. There are no resources to read them from: a module exports its version, other files have
// one made of the time of their last change.
#include "fs/module.h"
#include "fs/status.h"
#include "text/convert.h"

#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <kalto/fs.h>
#include <unistd.h>

using namespace kalto;

static_assert(sizeof(VS_FIXEDFILEINFO) == 12, "record of the interface");
constexpr DWORD kRecordSize = sizeof(VS_FIXEDFILEINFO);

static DWORD word_of(std::int32_t high, std::int32_t low) {
    return (static_cast<DWORD>(high) << 16) + static_cast<DWORD>(low);
}

static bool exported_version(LPCWSTR name, VS_FIXEDFILEINFO* record) {
    HMODULE module = LoadLibrary(name);
    if (module == nullptr)
        return false;
    if (const void* symbol = reinterpret_cast<const void*>(GetProcAddressA(module, "__lib_ver"))) {
        std::int32_t version[4]; // major, minor, build, revision
        std::memcpy(version, symbol, sizeof version);
        record->dwFileVersionMS = word_of(version[0], version[1]);
        record->dwFileVersionLS = word_of(version[2], version[3]);
    }
    FreeLibrary(module);
    return record->dwFileVersionMS + record->dwFileVersionLS != 0;
}

// The file, or else the running program, so that an application that asks for itself under any name gets an
// answer.
static int open_versioned_file(LPCWSTR name) {
    std::string path;
    if (!to_path(name, path))
        return -1;
    if (!cut_ending(path, ".exe"))
        cut_ending(path, ".EXE");
    const int file = open64(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    return file >= 0 ? file : open64("/proc/self/exe", O_RDONLY | O_CLOEXEC);
}

static bool version_of_time(LPCWSTR name, VS_FIXEDFILEINFO* record) {
    const int file = open_versioned_file(name);
    if (file < 0)
        return false;
    Status status = {};
    std::tm parts = {};
    std::time_t changed = 0;
    const bool found = read_status(file, &status) && to_time_t(status.modified, &changed) &&
                       gmtime_r(&changed, &parts) != nullptr;
    close(file);
    // Deliberate: the parts as the C library has them (years from 1900, months from 0), as versions that
    // applications have stored were made.
    record->dwFileVersionMS = word_of(parts.tm_year, parts.tm_mon);
    record->dwFileVersionLS = word_of(parts.tm_mday, parts.tm_hour * 100 + parts.tm_min);
    return found;
}

DWORD GetFileVersionInfoSize(LPCWSTR /*lptstrFilename*/, LPDWORD lpdwHandle) {
    if (lpdwHandle != nullptr)
        *lpdwHandle = 0;
    return kRecordSize;
}

BOOL GetFileVersionInfo(LPCWSTR lptstrFilename, DWORD /*dwHandle*/, DWORD /*dwLen*/, LPVOID lpData) {
    if (lptstrFilename == nullptr || lpData == nullptr)
        return FALSE;
    VS_FIXEDFILEINFO record = {};
    if (!exported_version(lptstrFilename, &record)) {
        record = {};
        if (!version_of_time(lptstrFilename, &record))
            return FALSE;
    }
    std::memcpy(lpData, &record, sizeof record);
    return TRUE;
}

BOOL VerQueryValue(LPCVOID pBlock, LPCWSTR /*lpSubBlock*/, LPVOID* lplpBuffer, PUINT puLen) {
    if (lplpBuffer == nullptr)
        return FALSE;
    *lplpBuffer = const_cast<void*>(pBlock);
    if (puLen != nullptr)
        *puLen = kRecordSize;
    return TRUE;
}
