// A module as ported source has it: DllMain, and an account of its calls.
#include <windows.h>

extern "C" {
KALTO_API HANDLE attached_module = nullptr;
KALTO_API DWORD last_reason = 99;

KALTO_API BOOL WINAPI DllMain(HANDLE hModule, DWORD reason, LPVOID reserved) {
    attached_module = hModule;
    last_reason = reason;
    return reserved == nullptr ? 41 : 0;
}
}
