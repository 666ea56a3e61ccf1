// Keys that are created, filled, read, listed and deleted, beside other threads and another process that do
// the same. What is expected holds while this process has a key open: the other process's saves are not seen
// meanwhile.
#include "soak.h"

#include <vector>

namespace {

// Whether the data of a value is what it is set to.
bool IsKept(HKEY key, LPCWSTR name, DWORD type, const std::vector<BYTE>& data) {
    std::vector<BYTE> back(data.size() + 1);
    DWORD size = static_cast<DWORD>(back.size());
    if (RegSetValueEx(key, name, 0, type, data.data(), size - 1) != ERROR_SUCCESS ||
        RegQueryValueEx(key, name, nullptr, nullptr, back.data(), &size) != ERROR_SUCCESS)
        return false;
    back.resize(size);
    return back == data;
}

void WriteAndRead(HKEY key) {
    const std::wstring text(1 + Random(100), static_cast<WCHAR>(L'a' + Random(26)));
    const BYTE* const bytes = reinterpret_cast<const BYTE*>(text.c_str());
    Expect(IsKept(key, L"Text", REG_SZ, {bytes, bytes + (text.size() + 1) * sizeof(WCHAR)}), "a text");
    Expect(IsKept(key, L"Number", REG_DWORD, {1, 2, 3, static_cast<BYTE>(Random(256))}), "a number");
    Expect(IsKept(key, L"Data", REG_BINARY, std::vector<BYTE>(1 + Random(300), 7)), "data");
    Expect(RegQueryValueEx(key, L"None", nullptr, nullptr, nullptr, nullptr) == ERROR_FILE_NOT_FOUND,
           "a value that is not there");
}

template <typename Enumerate> DWORD Listed(Enumerate enumerate, HKEY key) {
    WCHAR name[100];
    for (DWORD listed = 0;; ++listed) {
        DWORD size = 100;
        if (enumerate(key, listed, name, &size, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
            return listed;
    }
}

HKEY Make(HKEY key, LPCWSTR path) {
    HKEY made = nullptr;
    Expect(RegCreateKeyEx(key, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &made, nullptr) == ERROR_SUCCESS,
           "RegCreateKeyEx");
    return made;
}

void MakeAndDelete(HKEY key) {
    for (LPCWSTR path : {L"Deep\\Deeper\\Deepest", L"Other"})
        RegCloseKey(Make(key, path));
    Expect(Listed(RegEnumValue, key) >= 3 && Listed(RegEnumKeyEx, key) >= 2, "everything is listed");
    HKEY lost = nullptr;
    Expect(RegOpenKeyEx(key, L"Deep\\Deeper", 0, KEY_READ, &lost) == ERROR_SUCCESS, "RegOpenKeyEx");
    Expect(RegDeleteKey(key, L"Deep") == ERROR_SUCCESS, "RegDeleteKey");
    RegCloseKey(lost);
    Expect(RegDeleteValue(key, L"Text") == ERROR_SUCCESS, "RegDeleteValue");
    Expect(RegOpenKeyEx(key, L"Deep", 0, KEY_READ, &lost) == ERROR_FILE_NOT_FOUND, "the key is gone");
}

} // namespace

void RegistryStep(const std::wstring& own) {
    const std::wstring path = L"Software\\Soak\\" + own;
    HKEY key = Make(HKEY_LOCAL_MACHINE, path.c_str());
    WriteAndRead(key);
    MakeAndDelete(key);
    RegCloseKey(key);
    // Without an open key: what another process has saved may have taken the place of all that.
    RegDeleteKey(HKEY_LOCAL_MACHINE, path.c_str());
    // Pauses, so that there are moments at which no thread has a key open: only then the registry is saved.
    if (Random(10) == 0)
        Sleep(10);
}
