// What the windowing layer's records tell about threads.
#include <kalto/kernel.h>

// A window record belongs to the windowing layer; its third and fourth 32-bit words are the ids.
DWORD GetWindowThreadProcessId(HWND hWnd, LPDWORD lpdwProcessId) {
    if (hWnd == nullptr || hWnd == INVALID_HANDLE_VALUE)
        return 0;
    const auto* const words = reinterpret_cast<const DWORD*>(hWnd);
    if (lpdwProcessId != nullptr)
        *lpdwProcessId = words[2];
    return words[3];
}
