// The entry point, alone in its file: a program with a main of its own that is linked with the static library
// must not get this one.
#include "core/command_line.h"
#include "core/wide_main.h"
#include <kalto/core.h>

#include <cstdio>

// Weak, so that a program with a main of its own links without one.
extern "C" __attribute__((weak)) int WINAPI WinMain(HINSTANCE, HINSTANCE, LPWSTR, int);

KALTO_API int main(int argc, char* argv[]) {
    InstallSignalHandlers();
    if (!kalto::record_command_line(argc, argv))
        return 1;
    int status = 1;
    if (WinMain != nullptr)
        status = WinMain(nullptr, nullptr, GetCommandLineW(), 0);
    else if (!kalto::run_wide_main(argc, argv, &status))
        fputs("kalto: the application defines neither WinMain nor wmain nor main\n", stderr);
    kalto::release_narrow_command_line();
    return status;
}
