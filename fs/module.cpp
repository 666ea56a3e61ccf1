// Modules, on top of the dynamic loader. Names have no limit: nothing is ever cut to a buffer.
#include "fs/module.h"

#include "kernel/handle_record.h"
#include "text/convert.h"

#include <cstring>
#include <dlfcn.h>
#include <kalto/core.h>
#include <kalto/errors.h>
#include <kalto/fs.h>
#include <new>
#include <unistd.h>

namespace kalto {

bool cut_ending(std::string& text, const char* ending) {
    const std::size_t found = text.find(ending);
    if (found == std::string::npos)
        return false;
    if (found + std::strlen(ending) == text.size())
        text.erase(found);
    return true;
}

bool shared_object_name(const std::string& name, std::string& out) {
    try {
        out = name;
        const std::size_t slash = name.rfind('/');
        const std::size_t base = slash == std::string::npos ? 0 : slash + 1;
        if (name.compare(base, 3, "lib") != 0)
            out.insert(base, "lib");
        if (!cut_ending(out, ".dll"))
            cut_ending(out, ".DLL");
        if (out.find(".so") == std::string::npos)
            out += ".so";
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

// Runs constructors of the module, so exceptions and cancellation may pass through. Null when it cannot be
// loaded.
static HMODULE open_module(const char* name, int mode) {
    dlerror();
    void* module = dlopen(name, mode);
    if (module == nullptr)
        return nullptr;
    HandleRecord* record = nullptr;
    create_record(HT_MODULE, nullptr, nullptr, nullptr, &record);
    ModuleRecord* loaded = module_record_of(record);
    if (loaded == nullptr) {
        dlclose(module);
        return nullptr;
    }
    loaded->module = module;
    return record;
}

static bool names_program(const std::string& name) {
    return name.empty() || name.find(".exe") != std::string::npos || name.find(".elf") != std::string::npos;
}

} // namespace kalto

using namespace kalto;

HMODULE LoadLibrary(LPCWSTR lpLibFileName) {
    std::string name;
    if (lpLibFileName == nullptr || !to_path(lpLibFileName, name))
        return nullptr;
    if (names_program(name))
        return open_module("", RTLD_LAZY);
    if (HMODULE module = open_module(name.c_str(), RTLD_NOW))
        return module;
    std::string second;
    if (!shared_object_name(name, second))
        return nullptr;
    if (HMODULE module = open_module(second.c_str(), RTLD_NOW))
        return module;
    const std::size_t length = second.size();
    cut_ending(second, ".so");
    return second.size() == length ? nullptr : open_module(second.c_str(), RTLD_NOW);
}

FARPROC GetProcAddressA(HMODULE hModule, LPCSTR lpProcName) {
    const ModuleRecord* module = module_record_of(hModule);
    if (module == nullptr || lpProcName == nullptr)
        return nullptr;
    dlerror();
    return reinterpret_cast<FARPROC>(dlsym(module->module, lpProcName));
}

FARPROC GetProcAddress(HMODULE hModule, LPCWSTR lpProcName) {
    constexpr std::uintptr_t kLastOrdinal = 0xFFFF; // numbers in place of names: modules here have none
    std::string name;
    if (reinterpret_cast<std::uintptr_t>(lpProcName) <= kLastOrdinal || !to_narrow(lpProcName, name))
        return nullptr;
    return GetProcAddressA(hModule, name.c_str());
}

BOOL FreeLibrary(HMODULE hLibModule) {
    const ModuleRecord* module = module_record_of(hLibModule);
    if (module == nullptr)
        return FALSE;
    dlclose(module->module);
    return CloseHandle(hLibModule);
}

// The running program's file, whole. False when there is no such link, or memory is out.
static bool program_path(std::wstring& path) {
    char link[4096]; // the system makes no longer ones
    const ssize_t length = readlink("/proc/self/exe", link, sizeof link - 1);
    if (length < 0)
        return false;
    link[length] = '\0';
    return to_wide(link, path);
}

DWORD GetModuleFileName(HMODULE /*hModule*/, LPWSTR lpFilename, DWORD nSize) {
    constexpr DWORD kFailed = ~DWORD{0};
    std::wstring path;
    if (lpFilename == nullptr || !program_path(path))
        return kFailed;
    for (wchar_t& character : path)
        if (character == L'/')
            character = L'\\';
    if (path.size() < nSize) {
        std::wmemcpy(lpFilename, path.c_str(), path.size() + 1);
        return static_cast<DWORD>(path.size());
    }
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    if (nSize != 0) {
        std::wmemcpy(lpFilename, path.c_str(), nSize - 1);
        lpFilename[nSize - 1] = L'\0';
    }
    return nSize;
}
