// Formatted output, dates, tokens, messages and other calls that hand out or need memory.
#include "soak.h"

#include <kalto/tokenizer.h>
#include <memory>

namespace {

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
    Format();
    TakeMemory();
}
