// Starts through the library and does nothing.
#include <windows.h>

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    return 0;
}
