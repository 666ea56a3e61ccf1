/* The first application of a newcomer, valid as C and as C++. */
#include <stdio.h>
#include <windows.h>

int WINAPI WinMain(HINSTANCE instance, HINSTANCE previous, LPTSTR commandLine, int show) {
    DWORD written = 0;
    HANDLE file =
        CreateFile(TEXT(".\\hello.txt"), GENERIC_WRITE, 0, NULL, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, NULL);
    BOOL ok = instance == previous && show == 0 && WriteFile(file, "hello", 5, &written, NULL);
    CloseHandle(file);
    printf("%ls %d\n", commandLine, ok);
    return (int)written;
}
