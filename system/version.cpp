// The operating system's version: the kernel's name and release.
#include "text/convert.h"

#include <cstdint>
#include <cstring>
#include <kalto/system.h>
#include <kalto/text.h>
#include <string>
#include <sys/utsname.h>

static_assert(sizeof(OSVERSIONINFO) == 532, "applications rely on the layout");

namespace kalto {
namespace {

// Reads the number that the part at *rest begins with, and moves on behind the part's dot; a missing part is
// 0.
DWORD take_part(const char** rest) {
    std::uint32_t value = 0;
    const char* place = *rest;
    for (; *place >= '0' && *place <= '9'; ++place) {
        value = value * 10 + static_cast<std::uint32_t>(*place - '0');
    }
    const char* dot = std::strchr(place, '.');
    *rest = dot == nullptr ? "" : dot + 1;
    return value;
}

} // namespace
} // namespace kalto

BOOL GetVersionEx(LPOSVERSIONINFO lpVersionInformation) {
    utsname system = {};
    std::wstring name;
    if (lpVersionInformation == nullptr) {
        return FALSE;
    }
    lpVersionInformation->dwOSVersionInfoSize = sizeof *lpVersionInformation;
    lpVersionInformation->dwPlatformId = 0;
    lpVersionInformation->szCSDVersion[0] = L'\0';
    if (uname(&system) != 0 || !kalto::to_wide(system.sysname, name)) {
        return FALSE;
    }
    wsprintf(lpVersionInformation->szCSDVersion, L"%s", name.c_str());
    const char* rest = system.release;
    lpVersionInformation->dwMajorVersion = kalto::take_part(&rest);
    lpVersionInformation->dwMinorVersion = kalto::take_part(&rest);
    lpVersionInformation->dwBuildNumber = kalto::take_part(&rest);
    return TRUE;
}
