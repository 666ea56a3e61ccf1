/* settings: keeps its settings in the registry, as a device application does. Each run reads them, with a
 * default for every one that is missing or of another type, counts itself, and prints what it found.
 *
 *   settings [SANDBOX-DIRECTORY]
 *
 * A damaged registry costs it nothing but the settings: the library starts a new one, and the defaults apply.
 */
#include <windows.h>

#include <locale.h>
#include <stdio.h>
#include <stdlib.h>

static const WCHAR kKey[] = TEXT("Software\\Velmoran\\SettingsDemo");

typedef struct {
    WCHAR title[64];
    DWORD volume;
    DWORD runs;
    BYTE serial[4];
} SETTINGS;

static DWORD ReadNumber(HKEY hKey, LPCWSTR name, DWORD fallback) {
    DWORD type = 0, value = 0, size = sizeof(value);
    LONG result = RegQueryValueEx(hKey, name, NULL, &type, (LPBYTE)&value, &size);

    return result == ERROR_SUCCESS && type == REG_DWORD ? value : fallback;
}

static void ReadText(HKEY hKey, LPCWSTR name, LPCWSTR fallback, WCHAR* text, DWORD size) {
    DWORD type = 0, given = size;
    LONG result = RegQueryValueEx(hKey, name, NULL, &type, (LPBYTE)text, &given);

    if (result != ERROR_SUCCESS || type != REG_SZ)
        wcsncpy_s(text, size / sizeof(WCHAR), fallback, wcslen(fallback));
}

static void ReadSettings(HKEY hKey, SETTINGS* settings) {
    DWORD type = 0, size = sizeof(settings->serial);
    LONG result = RegQueryValueEx(hKey, TEXT("Serial"), NULL, &type, settings->serial, &size);

    if (result != ERROR_SUCCESS || type != REG_BINARY || size != sizeof(settings->serial))
        ZeroMemory(settings->serial, sizeof(settings->serial));
    ReadText(hKey, TEXT("Title"), TEXT("untitled"), settings->title, sizeof(settings->title));
    settings->volume = ReadNumber(hKey, TEXT("Volume"), 5);
    settings->runs = ReadNumber(hKey, TEXT("Runs"), 0);
}

static LONG WriteSettings(HKEY hKey, const SETTINGS* settings) {
    LONG result = RegSetValueEx(hKey, TEXT("Title"), 0, REG_SZ, (const BYTE*)settings->title,
                                (DWORD)((wcslen(settings->title) + 1) * sizeof(WCHAR)));

    if (result == ERROR_SUCCESS)
        result =
            RegSetValueEx(hKey, TEXT("Volume"), 0, REG_DWORD, (const BYTE*)&settings->volume, sizeof(DWORD));
    if (result == ERROR_SUCCESS)
        result = RegSetValueEx(hKey, TEXT("Runs"), 0, REG_DWORD, (const BYTE*)&settings->runs, sizeof(DWORD));
    if (result == ERROR_SUCCESS)
        result =
            RegSetValueEx(hKey, TEXT("Serial"), 0, REG_BINARY, settings->serial, sizeof(settings->serial));
    return result;
}

static void FirstRun(SETTINGS* settings) {
    static const BYTE serial[] = {0xDE, 0xAD, 0x00, 0x01};
    static const WCHAR title[] = TEXT("M\u00fcller & S\u00f6hne");

    wcsncpy_s(settings->title, ARRAYSIZE(settings->title), title, ARRAYSIZE(title) - 1);
    CopyMemory(settings->serial, serial, sizeof(serial));
}

int WINAPI WinMain(HINSTANCE hInstance, HINSTANCE hPrevInstance, LPWSTR lpCmdLine, int nCmdShow) {
    static char sandbox[1024];
    HKEY hKey = NULL;
    DWORD disposition = 0;
    SETTINGS settings;
    LONG result;

    UNREFERENCED_PARAMETER(hInstance);
    UNREFERENCED_PARAMETER(hPrevInstance);
    UNREFERENCED_PARAMETER(nCmdShow);
    setlocale(LC_ALL, "C.UTF-8");
    if (lpCmdLine[0] != L'\0' && wcstombs(sandbox, lpCmdLine, sizeof(sandbox) - 1) != (size_t)-1)
        g_sandboxDir = sandbox;

    result = RegCreateKeyEx(HKEY_LOCAL_MACHINE, kKey, 0, NULL, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, NULL,
                            &hKey, &disposition);
    if (result != ERROR_SUCCESS) {
        fprintf(stderr, "the settings cannot be opened: error %ld\n", (long)result);
        return 1;
    }
    ReadSettings(hKey, &settings);
    settings.runs++;
    printf("%s: title \"%ls\", volume %lu, serial %02x%02x%02x%02x, run %lu\n",
           disposition == REG_CREATED_NEW_KEY ? "new settings" : "settings found", settings.title,
           (unsigned long)settings.volume, settings.serial[0], settings.serial[1], settings.serial[2],
           settings.serial[3], (unsigned long)settings.runs);
    if (disposition == REG_CREATED_NEW_KEY)
        FirstRun(&settings);
    result = WriteSettings(hKey, &settings);
    if (result != ERROR_SUCCESS)
        fprintf(stderr, "the settings cannot be written: error %ld\n", (long)result);
    RegCloseKey(hKey); /* the last key is closed: the registry is saved */
    return result == ERROR_SUCCESS ? 0 : 1;
}
