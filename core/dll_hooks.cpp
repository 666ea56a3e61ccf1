// The start-up and shut-down hooks that loadable modules call.
#include <kalto/core.h>
#include <kalto/fs.h>
#include <kalto/kernel.h>

namespace kalto {

using DllMainFunction = BOOL(WINAPI*)(HANDLE, DWORD, LPVOID);

// Deliberate: one counter for the process, not one for each module, so that only the first module is told of
// its attachment and only the one that brings the count back to zero of its detachment: modules of the device
// rely on being told once.
static LONG attached_modules = 0;

static DllMainFunction find_dll_main(HMODULE module) {
    void* symbol = reinterpret_cast<void*>(GetProcAddressA(module, "DllMain"));
    return reinterpret_cast<DllMainFunction>(symbol);
}

static DWORD call_dll_main(HMODULE module, DWORD reason) {
    DllMainFunction dll_main = find_dll_main(module);
    return dll_main != nullptr ? static_cast<DWORD>(dll_main(module, reason, nullptr)) : 0;
}

} // namespace kalto

DWORD KaltoDllInit(HMODULE hModule) {
    LONG count = InterlockedIncrement(&kalto::attached_modules);
    return count != 1 ? static_cast<DWORD>(count) : kalto::call_dll_main(hModule, DLL_PROCESS_ATTACH);
}

DWORD KaltoDllFini(HMODULE hModule) {
    LONG count = InterlockedDecrement(&kalto::attached_modules);
    return count != 0 ? static_cast<DWORD>(count) : kalto::call_dll_main(hModule, DLL_PROCESS_DETACH);
}
