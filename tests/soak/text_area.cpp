// Formatted output, conversions, tokens, messages, times and other calls that hand out or need memory.
#include "station.h"

#include <kalto/tokenizer.h>
#include <memory>

namespace {

void Convert(Station& station) {
    const std::wstring wide(1 + station.Random(2000), L'w');
    std::string narrow(wide.size() + 1, '\0');
    std::wstring back(wide.size() + 1, L'\0');
    const int size = static_cast<int>(narrow.size());
    WideCharToMultiByte(CP_ACP, 0, wide.c_str(), -1, &narrow[0], size, nullptr, nullptr);
    MultiByteToWideChar(CP_ACP, 0, narrow.c_str(), -1, &back[0], size);
    station.Expect(wcscmp(back.c_str(), wide.c_str()) == 0, "there and back");
}

void Format(Station& station) {
    WCHAR text[3000];
    const std::wstring part(station.Random(1000), L'x');
    const int length = wsprintf(text, L"%s, %d, %S, %c", part.c_str(), 42, "narrow", L'c');
    station.Expect(length == static_cast<int>(part.size()) + 15, "wsprintf");
    station.Expect(_wtoi(text + part.size() + 2) == 42, "_wtoi");
    SYSTEMTIME time;
    GetSystemTime(&time);
    FILETIME file_time;
    station.Expect(SystemTimeToFileTime(&time, &file_time) && FileTimeToLocalFileTime(&file_time, &file_time),
                   "times");
    station.Expect(GetDateFormat(LOCALE_USER_DEFAULT, DATE_LONGDATE, &time, nullptr, text, 100) > 0,
                   "GetDateFormat");
}

void Tokenize(Station& station) {
    qrd_StringTokenizer tokens("one,two;three", ",;");
    int count = 0;
    for (; tokens.hasMoreTokens(); ++count)
        std::unique_ptr<char[]>(tokens.nextToken());
    station.Expect(count == 3, "three tokens");
}

void TakeMemory(Station& station) {
    LPWSTR message = nullptr;
    FormatMessage(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_ALLOCATE_BUFFER, nullptr,
                  1 + station.Random(40), 0, reinterpret_cast<LPWSTR>(&message), 0, nullptr);
    station.Expect(message != nullptr, "FormatMessage");
    LocalFree(message);
    LPVOID block = HeapAlloc(GetProcessHeap(), 0, 100);
    block = HeapReAlloc(GetProcessHeap(), 0, block, 10000);
    station.Expect(block != nullptr && HeapFree(GetProcessHeap(), 0, block), "the heap");
    LPVOID region = VirtualAlloc(nullptr, 100000, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    station.Expect(region != nullptr && VirtualFree(region, 0, MEM_RELEASE), "a region");
    WCHAR* copy = _wcsdup(L"copied");
    free(copy);
}

} // namespace

void TextStep(Station& station) {
    Convert(station);
    Format(station);
    Tokenize(station);
    TakeMemory(station);
}
