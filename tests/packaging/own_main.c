/* A program that keeps its main uses the calls without a WinMain. */
#include <windows.h>

int main(void) {
    SetLastError(ERROR_ACCESS_DENIED);
    return (int)GetLastError();
}
