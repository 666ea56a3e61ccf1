// Upper and lower case, and steps through a text.
#include <cwctype>
#include <kalto/porting.h>

namespace {

using Map = wint_t (*)(wint_t);

constexpr uintptr_t kLastCharacter = 0xFFFF; // what is above is an address

WCHAR mapped(Map map, WCHAR character) {
    return static_cast<WCHAR>(map(static_cast<wint_t>(character)));
}

LPWSTR map_text(Map map, LPWSTR text) {
    const auto value = reinterpret_cast<uintptr_t>(text);
    if (value <= kLastCharacter)
        return reinterpret_cast<LPWSTR>(static_cast<uintptr_t>(mapped(map, static_cast<WCHAR>(value))));
    for (WCHAR* place = text; *place != L'\0'; ++place)
        *place = mapped(map, *place);
    return text;
}

DWORD map_buffer(Map map, LPWSTR text, DWORD count) {
    if (text == nullptr)
        return 0;
    for (DWORD i = 0; i < count; ++i)
        text[i] = mapped(map, text[i]);
    return count;
}

} // namespace

LPWSTR CharLower(LPWSTR lpsz) {
    return map_text(towlower, lpsz);
}

LPWSTR CharUpper(LPWSTR lpsz) {
    return map_text(towupper, lpsz);
}

DWORD CharLowerBuff(LPWSTR lpsz, DWORD cchLength) {
    return map_buffer(towlower, lpsz, cchLength);
}

DWORD CharUpperBuff(LPWSTR lpsz, DWORD cchLength) {
    return map_buffer(towupper, lpsz, cchLength);
}

WCHAR* _wcsupr(WCHAR* text) {
    map_buffer(towupper, text, static_cast<DWORD>(wcslen(text)));
    return text;
}

LPWSTR CharNext(LPCWSTR lpsz) {
    const bool more = lpsz != nullptr && *lpsz != L'\0';
    return const_cast<LPWSTR>(more ? lpsz + 1 : lpsz);
}

LPWSTR CharPrev(LPCWSTR lpszStart, LPCWSTR lpszCurrent) {
    return const_cast<LPWSTR>(lpszCurrent > lpszStart ? lpszCurrent - 1 : lpszStart);
}
