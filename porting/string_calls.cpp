// Text calls that bear with null, and names of the run-time library that are functions here so that they
// exist in every dialect of C and C++.
#include <algorithm>
#include <cstring>
#include <cwchar>
#include <kalto/porting.h>
#include <strings.h>

namespace {

using Compare = int (*)(const wchar_t*, const wchar_t*);

int compare(Compare with, LPCWSTR first, LPCWSTR second) {
    if (first == nullptr || second == nullptr)
        return static_cast<int>(first != nullptr) - static_cast<int>(second != nullptr);
    return with(first, second);
}

LPWSTR copy_to(LPWSTR place, LPWSTR result, LPCWSTR source) {
    if (result == nullptr || source == nullptr)
        return nullptr;
    wmemmove(place, source, wcslen(source) + 1);
    return result;
}

} // namespace

int lstrlen(LPCWSTR lpString) {
    return lpString == nullptr ? 0 : static_cast<int>(wcslen(lpString));
}

int lstrcmp(LPCWSTR lpString1, LPCWSTR lpString2) {
    return compare(wcscmp, lpString1, lpString2);
}

int lstrcmpi(LPCWSTR lpString1, LPCWSTR lpString2) {
    return compare(wcscasecmp, lpString1, lpString2);
}

LPWSTR lstrcpy(LPWSTR lpString1, LPCWSTR lpString2) {
    return copy_to(lpString1, lpString1, lpString2);
}

LPWSTR lstrcat(LPWSTR lpString1, LPCWSTR lpString2) {
    return copy_to(lpString1 + lstrlen(lpString1), lpString1, lpString2);
}

LPWSTR lstrcpyn(LPWSTR lpString1, LPCWSTR lpString2, int iMaxLength) {
    if (lpString1 == nullptr || lpString2 == nullptr || iMaxLength <= 0)
        return nullptr;
    const size_t length = wcsnlen(lpString2, static_cast<size_t>(iMaxLength) - 1);
    wmemmove(lpString1, lpString2, length);
    lpString1[length] = L'\0';
    return lpString1;
}

int _stricmp(const char* first, const char* second) {
    return strcasecmp(first, second);
}

int _strnicmp(const char* first, const char* second, size_t count) {
    return strncasecmp(first, second, count);
}

int _wcsicmp(const WCHAR* first, const WCHAR* second) {
    return wcscasecmp(first, second);
}

int _wcsnicmp(const WCHAR* first, const WCHAR* second, size_t count) {
    return wcsncasecmp(first, second, count);
}

char* _strdup(const char* text) {
    return strdup(text);
}

WCHAR* _wcsdup(const WCHAR* text) {
    return wcsdup(text);
}
