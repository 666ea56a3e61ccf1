// Modules that are loaded already.
//
// The handles that GetModuleHandle gives out live as long as the process, one for each module, in a list
// guarded by list_lock. They do not hold the module.
#include "fs/module.h"
#include "kernel/handle_record.h"
#include "porting/failure.h"
#include "text/convert.h"

#include <cerrno>
#include <cstdlib>
#include <dlfcn.h>
#include <kalto/porting.h>
#include <mutex>
#include <strings.h>

namespace kalto {

namespace {

struct KnownModule {
    ModuleRecord* record;
    KnownModule* next;
};

KnownModule* first_known = nullptr;
std::mutex list_lock;

// So many openers that a source which frees such a handle, as some do, does no harm.
constexpr LONG kNeverClosed = 0x40000000;

// Null when memory is out. Under the lock.
HMODULE handle_of(void* module) {
    for (const KnownModule* known = first_known; known != nullptr; known = known->next)
        if (known->record->module == module)
            return known->record;
    auto* const known = static_cast<KnownModule*>(std::malloc(sizeof(KnownModule)));
    HandleRecord* record = nullptr;
    if (known == nullptr || !create_record(HT_MODULE, nullptr, nullptr, nullptr, &record) ||
        record == nullptr) {
        std::free(known);
        return nullptr;
    }
    InterlockedExchangeAdd(&record->references, kNeverClosed);
    *known = {module_record_of(record), first_known};
    known->record->module = module;
    first_known = known;
    return record;
}

bool names_system(const std::string& name) {
    static constexpr const char* kNames[] = {"coredll", "coredll.dll", "kernel32", "kernel32.dll"};
    for (const char* known : kNames)
        if (strcasecmp(name.c_str(), known) == 0)
            return true;
    return false;
}

bool names_program(const std::string& name) {
    return name.find(".exe") != std::string::npos || name.find(".elf") != std::string::npos;
}

void* loaded(const std::string& name) {
    return dlopen(name.c_str(), RTLD_LAZY | RTLD_NOLOAD);
}

// By the names that LoadLibrary tries. The loader's own hold of the module is to be given back.
void* find_loaded(const std::string& name) {
    if (names_program(name))
        return dlopen(nullptr, RTLD_LAZY);
    if (void* module = loaded(name))
        return module;
    std::string second;
    if (!shared_object_name(name, second))
        return nullptr;
    if (void* module = loaded(second))
        return module;
    cut_ending(second, ".so");
    return loaded(second);
}

} // namespace

} // namespace kalto

using namespace kalto;

HMODULE GetModuleHandle(LPCWSTR lpModuleName) {
    std::string name;
    if (!to_path(lpModuleName, name))
        return fail(static_cast<DWORD>(errno), HMODULE{});
    dlerror();
    void* const module = name.empty() || names_system(name) ? dlopen(nullptr, RTLD_LAZY) : find_loaded(name);
    if (module == nullptr)
        return fail(ERROR_MOD_NOT_FOUND, HMODULE{});
    HMODULE handle = nullptr;
    {
        const std::lock_guard<std::mutex> held(list_lock);
        handle = handle_of(module);
    }
    dlclose(module);
    return handle != nullptr ? handle : fail(ERROR_NOT_ENOUGH_MEMORY, handle);
}

HMODULE LoadLibraryEx(LPCWSTR lpLibFileName, HANDLE /*hFile*/, DWORD /*dwFlags*/) {
    HMODULE module = LoadLibrary(lpLibFileName);
    return module != nullptr ? module : fail(ERROR_MOD_NOT_FOUND, module);
}
