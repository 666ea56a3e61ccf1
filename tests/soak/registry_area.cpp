// Keys that are created, filled, read, listed and deleted, beside other threads and another process that do
// the same. What is expected holds while this process has a key open: the other process's saves are not seen
// meanwhile.
#include "station.h"

#include <vector>

namespace {

const WCHAR kRoot[] = L"Software\\Soak";

std::wstring ReadText(HKEY key, LPCWSTR name) {
    WCHAR text[200] = L"";
    DWORD size = sizeof(text);
    DWORD type = 0;
    return RegQueryValueEx(key, name, nullptr, &type, reinterpret_cast<BYTE*>(text), &size) == ERROR_SUCCESS
               ? text
               : L"";
}

void SetText(Station& station, HKEY key, LPCWSTR name, const std::wstring& text) {
    const DWORD size = static_cast<DWORD>((text.size() + 1) * sizeof(WCHAR));
    station.Expect(RegSetValueEx(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()), size) ==
                       ERROR_SUCCESS,
                   "RegSetValueEx of a text");
}

void WriteAndRead(Station& station, HKEY key) {
    const std::wstring text(1 + station.Random(100), static_cast<WCHAR>(L'a' + station.Random(26)));
    SetText(station, key, L"Text", text);
    station.Expect(ReadText(key, L"Text") == text, "the text that was set");

    const DWORD number = station.Random(0xFFFF);
    DWORD read = 0;
    DWORD size = sizeof(read);
    RegSetValueEx(key, L"Number", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof(number));
    station.Expect(RegQueryValueEx(key, L"Number", nullptr, nullptr, reinterpret_cast<BYTE*>(&read), &size) ==
                           ERROR_SUCCESS &&
                       read == number,
                   "the number that was set");

    std::vector<BYTE> data(1 + station.Random(300), static_cast<BYTE>(number));
    std::vector<BYTE> back(data.size());
    size = static_cast<DWORD>(back.size());
    RegSetValueEx(key, L"Data", 0, REG_BINARY, data.data(), static_cast<DWORD>(data.size()));
    station.Expect(RegQueryValueEx(key, L"Data", nullptr, nullptr, back.data(), &size) == ERROR_SUCCESS &&
                       back == data,
                   "the data that was set");
    station.Expect(RegQueryValueEx(key, L"None", nullptr, nullptr, back.data(), &size) ==
                       ERROR_FILE_NOT_FOUND,
                   "a value that is not there");
}

void List(Station& station, HKEY key) {
    DWORD values = 0;
    DWORD keys = 0;
    station.Expect(RegQueryInfoKey(key, nullptr, nullptr, nullptr, &keys, nullptr, nullptr, &values, nullptr,
                                   nullptr, nullptr, nullptr) == ERROR_SUCCESS,
                   "RegQueryInfoKey");
    DWORD listed = 0;
    WCHAR name[100];
    for (DWORD size = 100;
         RegEnumValue(key, listed, name, &size, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
         size = 100)
        ++listed;
    station.Expect(listed == values && values >= 3, "every value is listed");
    listed = 0;
    for (DWORD size = 100;
         RegEnumKeyEx(key, listed, name, &size, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
         size = 100)
        ++listed;
    station.Expect(listed == keys && keys >= 2, "every key is listed");
}

void MakeKeys(Station& station, HKEY key) {
    for (LPCWSTR path : {L"Deep\\Deeper\\Deepest", L"Other"}) {
        HKEY made = nullptr;
        station.Expect(RegCreateKeyEx(key, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &made, nullptr) ==
                           ERROR_SUCCESS,
                       "RegCreateKeyEx below a key");
        SetText(station, made, L"(default)", path);
        RegCloseKey(made);
    }
}

void Delete(Station& station, HKEY key) {
    HKEY lost = nullptr;
    station.Expect(RegOpenKeyEx(key, L"Deep\\Deeper", 0, KEY_READ, &lost) == ERROR_SUCCESS, "RegOpenKeyEx");
    station.Expect(RegDeleteKey(key, L"Deep") == ERROR_SUCCESS, "RegDeleteKey");
    station.Expect(ReadText(lost, L"Text").empty(), "a deleted key has no values");
    RegCloseKey(lost);
    station.Expect(RegDeleteValue(key, L"Text") == ERROR_SUCCESS, "RegDeleteValue");
    station.Expect(RegOpenKeyEx(key, L"Deep", 0, KEY_READ, &lost) == ERROR_FILE_NOT_FOUND, "the key is gone");
}

} // namespace

void RegistryStep(Station& station) {
    HKEY key = nullptr;
    const std::wstring path = kRoot + (L"\\" + station.OwnName(L"Key"));
    station.Expect(RegCreateKeyEx(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                  KEY_ALL_ACCESS, nullptr, &key, nullptr) == ERROR_SUCCESS,
                   "RegCreateKeyEx");
    WriteAndRead(station, key);
    MakeKeys(station, key);
    List(station, key);
    Delete(station, key);
    RegCloseKey(key);
    // Without an open key: what another process has saved may have taken the place of all that.
    RegDeleteKey(HKEY_LOCAL_MACHINE, path.c_str());
    // Pauses, so that there are moments at which no thread has a key open: only then the registry is saved.
    if (station.OneIn(10))
        Sleep(10);
}
