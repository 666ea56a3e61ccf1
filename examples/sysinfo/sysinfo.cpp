// sysinfo [DIRECTORY]: prints what the library knows of the machine.
//
// With a directory, the registry is the one below it (DIRECTORY/var/zel/registry.xml) in place of the
// device's own. Blanks in its name are not expected.
#include <objbase.h>
#include <oleauto.h>
#include <pkfuncs.h>
#include <windows.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "sysinfo.h"

namespace {

void PrintVersion() {
    OSVERSIONINFO version = {};
    version.dwOSVersionInfoSize = sizeof(version);
    if (GetVersionEx(&version))
        printf("  System             %ls %u.%u.%u\n", version.szCSDVersion, unsigned(version.dwMajorVersion),
               unsigned(version.dwMinorVersion), unsigned(version.dwBuildNumber));
    else
        printf("  System             not told\n");

    WCHAR maker[64] = L"";
    SystemParametersInfo(SPI_GETOEMINFO, sizeof(maker), maker, 0);
    printf("  Maker              %ls\n", maker);
}

void PrintName(const char* what, BOOL(WINAPI* get)(LPWSTR, LPDWORD)) {
    WCHAR name[UNLEN + 1] = L"";
    DWORD size = ARRAYSIZE(name);
    if (get(name, &size))
        printf("  %-18s %ls\n", what, name);
    else
        printf("  %-18s not told (error %u)\n", what, unsigned(GetLastError()));
}

void PrintMemory() {
    MEMORYSTATUS memory = {};
    memory.dwLength = sizeof(memory);
    GlobalMemoryStatus(&memory);
    Headline("Memory");
    printf("  Memory             %llu KB, %llu KB free (%u %%)\n", ULONGLONG(memory.dwTotalPhys) / 1024,
           ULONGLONG(memory.dwAvailPhys) / 1024, unsigned(memory.dwMemoryLoad));
    printf("  Swap space         %llu KB, %llu KB free\n", ULONGLONG(memory.dwTotalPageFile) / 1024,
           ULONGLONG(memory.dwAvailPageFile) / 1024);
}

void PrintStorage() {
    ULARGE_INTEGER available = {};
    ULARGE_INTEGER total = {};
    Headline("Storage");
    if (GetDiskFreeSpaceEx(L"/", &available, &total, nullptr))
        printf("  Root file system   %llu KB, %llu KB free\n", total.QuadPart / 1024,
               available.QuadPart / 1024);
    else
        printf("  Root file system   not told (error %u)\n", unsigned(GetLastError()));
}

void PrintTime(const char* what, const SYSTEMTIME& time) {
    WCHAR date[128] = L"";
    WCHAR clock[128] = L"";
    GetDateFormat(LOCALE_USER_DEFAULT, DATE_LONGDATE, &time, nullptr, date, ARRAYSIZE(date) - 1);
    GetTimeFormat(LOCALE_USER_DEFAULT, TIME_FORCE24HOURFORMAT, &time, nullptr, clock, ARRAYSIZE(clock) - 1);
    printf("  %-18s %ls %ls.%03u\n", what, date, clock, unsigned(time.wMilliseconds));
}

void PrintTimes() {
    SYSTEMTIME utc = {};
    SYSTEMTIME local = {};
    TIME_ZONE_INFORMATION zone = {};
    GetSystemTime(&utc);
    GetLocalTime(&local);
    bool summer = GetTimeZoneInformation(&zone) == TIME_ZONE_ID_DAYLIGHT;
    Headline("Time");
    PrintTime("UTC", utc);
    PrintTime("Local", local);
    printf("  Kernel's zone      %ld minutes west%s\n", long(zone.Bias), summer ? ", summer time here" : "");
    printf("  Since the start    %u ms\n", unsigned(GetTickCount()));
}

// Asks as an application of the device does: by selector, through KernelIoControl.
void PrintParameter(const char* what, BYTE selector) {
    BYTE in[2] = {selector, 0};
    char out[256];
    DWORD size = 0;
    if (KernelIoControl(IOCTL_HAL_GET_DEVICEID, in, sizeof(in), out, sizeof(out), &size))
        printf("  %-18s %s\n", what, out);
    else
        printf("  %-18s not set\n", what);
}

void PrintDevice() {
    Headline("Device");
    PrintParameter("Serial number", KALTO_NVPARM_SERIAL_NUM);
    PrintParameter("Manufacturing code", KALTO_NVPARM_MCODE);
    PrintParameter("Flags", KALTO_NVPARM_MANU_FLAGS);
}

void PrintGuids() {
    Headline("Two new GUIDs");
    for (int i = 0; i < 2; ++i) {
        GUID guid = {};
        if (FAILED(CoCreateGuid(&guid))) {
            printf("  not made\n");
            continue;
        }
        printf("  {%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}\n", unsigned(guid.Data1), guid.Data2,
               guid.Data3, guid.Data4[0], guid.Data4[1], guid.Data4[2], guid.Data4[3], guid.Data4[4],
               guid.Data4[5], guid.Data4[6], guid.Data4[7]);
    }
}

} // namespace

void Headline(const char* text) {
    printf("%s\n", text);
}

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    setlocale(LC_ALL, "");
    GetTickCount(); // counting begins at the first call
    const char* directory = GetCommandLineA();
    std::string sandbox = directory;
    if (!sandbox.empty())
        g_sandboxDir = sandbox.c_str();

    Headline("Machine");
    PrintVersion();
    PrintName("Computer", GetComputerName);
    PrintName("User", GetUserName);
    PrintMemory();
    PrintStorage();
    PrintTimes();
    PrintDevice();
    PrintGuids();
    PrintNetwork();
    return 0;
}
