// Formatted output, conversions, tokens, messages, times and other calls that hand out or need memory.
#include "soak.h"

#include <kalto/tokenizer.h>
#include <memory>

namespace {

void Convert() {
    const std::wstring wide(1 + Random(2000), L'w');
    std::string narrow(wide.size() + 1, '\0');
    std::wstring back(wide.size() + 1, L'\0');
    const int size = static_cast<int>(narrow.size());
    WideCharToMultiByte(CP_ACP, 0, wide.c_str(), -1, &narrow[0], size, nullptr, nullptr);
    MultiByteToWideChar(CP_ACP, 0, narrow.c_str(), -1, &back[0], size);
    Expect(wcscmp(back.c_str(), wide.c_str()) == 0, "there and back");
}

void Format() {
    WCHAR text[3000];
    const std::wstring part(Random(1000), L'x');
    const int length = wsprintf(text, L"%s, %d, %S, %c", part.c_str(), 42, "narrow", L'c');
    Expect(length == static_cast<int>(part.size()) + 15, "wsprintf");
    SYSTEMTIME time;
    GetSystemTime(&time);
    Expect(GetDateFormat(LOCALE_USER_DEFAULT, DATE_LONGDATE, &time, nullptr, text, 100) > 0, "a date");
    qrd_StringTokenizer tokens("one,two;three", ",;");
    while (tokens.hasMoreTokens())
        Expect(std::unique_ptr<char[]>(tokens.nextToken()) != nullptr, "a token");
}

void TakeMemory() {
    LPWSTR message = nullptr;
    FormatMessage(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_ALLOCATE_BUFFER, nullptr, 1 + Random(40), 0,
                  reinterpret_cast<LPWSTR>(&message), 0, nullptr);
    LocalFree(message);
    LPVOID block = HeapAlloc(GetProcessHeap(), 0, 100);
    block = HeapReAlloc(GetProcessHeap(), 0, block, 10000);
    Expect(block != nullptr && HeapFree(GetProcessHeap(), 0, block), "the heap");
    LPVOID region = VirtualAlloc(nullptr, 100000, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    Expect(VirtualFree(region, 0, MEM_RELEASE) != FALSE, "a region");
    free(_wcsdup(L"copied"));
}

} // namespace

void TextStep(const std::wstring&) {
    Convert();
    Format();
    TakeMemory();
}
