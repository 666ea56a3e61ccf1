// An application for the start-up tests: the first argument says what to do. It defines WinMain alone; main
// is the library's.
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>

// One fact a line. The elements of the vector carry no terminator, so the last is printed to the length that
// the tests give it.
static void print_command_line(LPWSTR lpCmdLine) {
    int count = 0;
    LPWSTR* vector = CommandLineToArgvW(L"any text", &count);
    int path_count = 0;
    LPWSTR* path = CommandLineToArgvW(nullptr, &path_count);
    printf("path %d %d\n", path_count, path == CommandLineToArgvW(L"", nullptr) && path[0] == vector[0]);
    printf("executable [%ls]\n", path[0]);
    printf("same %d\n", lpCmdLine == GetCommandLine() && vector == CommandLineToArgvW(L"x", nullptr));
    printf("narrow [%s]\nwide [%ls]\ncount %d\n", GetCommandLineA(), lpCmdLine, count);
    printf("last [%.3ls]\n", vector[count - 1]);
}

int WINAPI WinMain(HINSTANCE instance, HINSTANCE previous, LPWSTR lpCmdLine, int show) {
    const std::string line = GetCommandLineA();
    if (line == "abort")
        abort();
    if (line.find("status ") == 0)
        return atoi(line.c_str() + 7);
    print_command_line(lpCmdLine);
    return instance == nullptr && previous == nullptr && show == 0 ? 0 : 1;
}
