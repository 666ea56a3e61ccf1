#include "settings.h"

#include <algorithm>

namespace {

const WCHAR kKey[] = L"Software\\Velmoran\\StockScan";

struct TextSetting {
    LPCWSTR name;
    std::wstring Settings::*member;
    LPCWSTR initial;
};

const TextSetting kTexts[] = {
    {L"Input", &Settings::input, L"\\var\\lib\\stockscan\\scans.txt"},
    {L"Catalogue", &Settings::catalogue, L"\\var\\lib\\stockscan\\catalogue.xml"},
    {L"Report", &Settings::report, L"\\var\\lib\\stockscan\\report.txt"},
    {L"PlugIn", &Settings::plugIn, L"ean13.dll"},
    {L"StopFile", &Settings::stopFile, L"\\var\\lib\\stockscan\\stop"},
};

struct NumberSetting {
    LPCWSTR name;
    DWORD Settings::*member;
    DWORD initial;
    DWORD least;
    DWORD most;
};

const NumberSetting kNumbers[] = {
    {L"Workers", &Settings::workers, 3, 1, 32},
    {L"QueueLength", &Settings::queueLength, 32, 1, 10000},
    {L"ErrorLimit", &Settings::errorLimit, 2000, 0, 0xFFFFFFFF},
};

LONG WriteText(HKEY key, LPCWSTR name, const std::wstring& text) {
    const DWORD size = static_cast<DWORD>((text.size() + 1) * sizeof(WCHAR));
    return RegSetValueEx(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()), size);
}

LONG WriteNumber(HKEY key, LPCWSTR name, DWORD number) {
    return RegSetValueEx(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof(number));
}

bool ReadText(HKEY key, LPCWSTR name, std::wstring& text) {
    WCHAR buffer[MAX_PATH] = L"";
    DWORD type = 0;
    DWORD size = sizeof(buffer);
    const LONG result = RegQueryValueEx(key, name, nullptr, &type, reinterpret_cast<BYTE*>(buffer), &size);
    if (result != ERROR_SUCCESS || type != REG_SZ)
        return false;
    text = buffer;
    return true;
}

bool ReadNumber(HKEY key, LPCWSTR name, DWORD& number) {
    DWORD type = 0;
    DWORD value = 0;
    DWORD size = sizeof(value);
    const LONG result = RegQueryValueEx(key, name, nullptr, &type, reinterpret_cast<BYTE*>(&value), &size);
    if (result != ERROR_SUCCESS || type != REG_DWORD)
        return false;
    number = value;
    return true;
}

LONG LoadTexts(HKEY key, Settings& settings) {
    LONG result = ERROR_SUCCESS;
    for (const TextSetting& setting : kTexts) {
        std::wstring& text = settings.*setting.member;
        if (ReadText(key, setting.name, text))
            continue;
        text = setting.initial;
        result = WriteText(key, setting.name, text);
        if (result != ERROR_SUCCESS)
            break;
    }
    return result;
}

LONG LoadNumbers(HKEY key, Settings& settings) {
    LONG result = ERROR_SUCCESS;
    for (const NumberSetting& setting : kNumbers) {
        DWORD number = setting.initial;
        if (!ReadNumber(key, setting.name, number))
            result = WriteNumber(key, setting.name, number);
        if (result != ERROR_SUCCESS)
            break;
        settings.*setting.member = std::min(std::max(number, setting.least), setting.most);
    }
    return result;
}

LONG CountRun(HKEY key, Settings& settings) {
    if (!ReadNumber(key, L"Runs", settings.runs))
        settings.runs = 0;
    return WriteNumber(key, L"Runs", ++settings.runs);
}

} // namespace

LONG LoadSettings(Settings& settings) {
    HKEY key = nullptr;
    LONG result = RegCreateKeyEx(HKEY_LOCAL_MACHINE, kKey, 0, nullptr, REG_OPTION_NON_VOLATILE,
                                 KEY_ALL_ACCESS, nullptr, &key, nullptr);
    if (result != ERROR_SUCCESS)
        return result;
    result = LoadTexts(key, settings);
    if (result == ERROR_SUCCESS)
        result = LoadNumbers(key, settings);
    if (result == ERROR_SUCCESS)
        result = CountRun(key, settings);
    RegCloseKey(key); // the last key is closed: the registry is saved
    return result;
}
