// Environment variables. These calls hold one lock around what they do to the environment, so that they are
// safe against each other.
#include "porting/failure.h"
#include "porting/out_text.h"
#include "text/convert.h"

#include <cerrno>
#include <cstdlib>
#include <kalto/porting.h>
#include <mutex>
#include <new>

using namespace kalto;

namespace {

std::mutex environment_lock;

// False with errno; ENOENT when there is no such variable.
bool read_variable(const wchar_t* name, std::wstring& value) {
    std::string narrow;
    if (!to_narrow(name, narrow))
        return false;
    const std::lock_guard<std::mutex> held(environment_lock);
    const char* text = getenv(narrow.c_str());
    if (text == nullptr) {
        errno = ENOENT;
        return false;
    }
    return to_wide(text, value);
}

// The value in place of a name that stands between percent signs, or else the text as it was. Returns the
// place behind what was taken. Throws when memory is out.
const wchar_t* expand_one(const wchar_t* percent, std::wstring& out) {
    const wchar_t* const end = wcschr(percent + 1, L'%');
    std::wstring value;
    if (end == nullptr || !read_variable(std::wstring(percent + 1, end).c_str(), value)) {
        // The second percent sign may begin a name of its own.
        const wchar_t* const rest = end == nullptr ? percent + 1 : end;
        out.append(percent, rest);
        return rest;
    }
    out += value;
    return end + 1;
}

} // namespace

DWORD GetEnvironmentVariable(LPCWSTR lpName, LPWSTR lpBuffer, DWORD nSize) {
    if (lpName == nullptr)
        return fail(ERROR_INVALID_PARAMETER, DWORD{0});
    std::wstring value;
    if (!read_variable(lpName, value))
        return fail(errno == ENOENT ? DWORD{ERROR_ENVVAR_NOT_FOUND} : static_cast<DWORD>(errno), DWORD{0});
    const DWORD result = hand_out(value, lpBuffer, nSize);
    if (result == 0)
        SetLastError(ERROR_SUCCESS); // empty, not missing
    return result;
}

BOOL SetEnvironmentVariable(LPCWSTR lpName, LPCWSTR lpValue) {
    if (lpName == nullptr)
        return fail(ERROR_INVALID_PARAMETER, FALSE);
    std::string name;
    std::string value;
    if (!to_narrow(lpName, name) || !to_narrow(lpValue, value))
        return fail(static_cast<DWORD>(errno), FALSE);
    const std::lock_guard<std::mutex> held(environment_lock);
    const int result = lpValue == nullptr ? unsetenv(name.c_str()) : setenv(name.c_str(), value.c_str(), 1);
    return result == 0 ? TRUE : fail(static_cast<DWORD>(errno), FALSE);
}

DWORD ExpandEnvironmentStrings(LPCWSTR lpSrc, LPWSTR lpDst, DWORD nSize) {
    if (lpSrc == nullptr)
        return fail(ERROR_INVALID_PARAMETER, DWORD{0});
    try {
        std::wstring text;
        for (const wchar_t* rest = lpSrc; *rest != L'\0';) {
            if (*rest == L'%')
                rest = expand_one(rest, text);
            else
                text += *rest++;
        }
        hand_out(text, lpDst, nSize);
        return static_cast<DWORD>(text.size() + 1);
    } catch (const std::bad_alloc&) {
        return fail(ERROR_NOT_ENOUGH_MEMORY, DWORD{0});
    }
}
