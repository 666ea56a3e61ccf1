// Changes to wide strings in place. mywcstok keeps its place in the one variable that threads share here.
#include <algorithm>
#include <atomic>
#include <cwchar>
#include <cwctype>
#include <kalto/text.h>

namespace {

// Where mywcstok goes on; null before its first token. Atomic only so that threads which disturb each other,
// as they do, get one another's place and nothing worse.
std::atomic<WCHAR*> g_next_token{nullptr};

} // namespace

WCHAR* wcsrev(WCHAR* text) {
    std::reverse(text, text + wcslen(text));
    return text;
}

WCHAR* wcslwr(WCHAR* text) {
    for (WCHAR* at = text; *at != L'\0'; ++at)
        *at = static_cast<WCHAR>(towlower(static_cast<wint_t>(*at)));
    return text;
}

WCHAR* mywcstok(WCHAR* text, const WCHAR* delimiters) {
    WCHAR* start = text != nullptr ? text : g_next_token.load(std::memory_order_relaxed);
    if (start == nullptr)
        return nullptr;
    start += wcsspn(start, delimiters);
    if (*start == L'\0')
        return nullptr;
    WCHAR* next = start + wcscspn(start, delimiters);
    if (*next != L'\0')
        *next++ = L'\0';
    g_next_token.store(next, std::memory_order_relaxed);
    return start;
}
