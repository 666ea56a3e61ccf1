// FormatMessage: the C library's error texts, and messages of the caller's own.
#include "porting/failure.h"
#include "porting/heap.h"
#include "porting/message_format.h"
#include "text/convert.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <kalto/porting.h>
#include <new>

using namespace kalto;

namespace {

struct OwnText {
    DWORD number;
    const char* text;
};

// The numbers of this interface that no POSIX error has.
constexpr OwnText kOwnTexts[] = {
    {ERROR_ENVVAR_NOT_FOUND, "No such environment variable"},
    {ERROR_MR_MID_NOT_FOUND, "No message for this number"},
    {ERROR_INVALID_FLAGS, "Invalid flags"},
    {ERROR_REGISTRY_IO_FAILED, "The registry cannot be read or written"},
    {ERROR_KEY_DELETED, "The registry key was deleted"},
    {ERROR_NOT_FOUND, "Not found"},
    {ERROR_NO_MORE_FILES, "No more files"},
};

// A number as it is, or out of the HRESULT that was made of it.
DWORD error_of(DWORD message) {
    const DWORD made = static_cast<DWORD>(MAKE_HRESULT(SEVERITY_ERROR, FACILITY_WIN32, 0));
    return (message & 0xFFFF0000u) == made ? message & 0xFFFFu : message;
}

// Null when there is none.
const char* text_of(DWORD error, char* buffer, size_t size) {
    constexpr size_t kNames = sizeof ename / sizeof *ename;
    for (const OwnText& own : kOwnTexts)
        if (own.number == error)
            return own.text;
    if (error >= kNames || (error != 0 && *ename[error] == '\0'))
        return nullptr;
    return strerror_r(static_cast<int>(error), buffer, size);
}

// These two return 0 or the number of the error, and throw when memory is out.
DWORD make_system_message(DWORD message, DWORD flags, std::wstring& out) {
    char buffer[256];
    const char* const text = text_of(error_of(message), buffer, sizeof buffer);
    if (text == nullptr)
        return ERROR_MR_MID_NOT_FOUND;
    if (!to_wide(text, out))
        return static_cast<DWORD>(errno);
    if ((flags & FORMAT_MESSAGE_MAX_WIDTH_MASK) == 0)
        out += L"\r\n";
    return 0;
}

DWORD make_own_message(const WCHAR* message, DWORD flags, va_list* arguments, std::wstring& out) {
    if (message == nullptr)
        return ERROR_INVALID_PARAMETER;
    if ((flags & FORMAT_MESSAGE_IGNORE_INSERTS) != 0) {
        out = message;
        return 0;
    }
    Inserts inserts(arguments, (flags & FORMAT_MESSAGE_ARGUMENT_ARRAY) != 0);
    return fill_message(message, inserts, out) ? 0 : ERROR_INVALID_PARAMETER;
}

DWORD make_message(DWORD flags, LPCVOID source, DWORD message, va_list* arguments, std::wstring& out) {
    try {
        if ((flags & FORMAT_MESSAGE_FROM_STRING) != 0)
            return make_own_message(static_cast<const WCHAR*>(source), flags, arguments, out);
        if ((flags & FORMAT_MESSAGE_FROM_SYSTEM) != 0)
            return make_system_message(message, flags, out);
        return ERROR_NOT_SUPPORTED;
    } catch (const std::bad_alloc&) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
}

DWORD copy_out(const std::wstring& text, LPWSTR buffer) {
    wmemcpy(buffer, text.c_str(), text.size() + 1);
    return static_cast<DWORD>(text.size());
}

DWORD allocate_out(const std::wstring& text, LPWSTR* out, DWORD least) {
    const size_t characters = std::max<size_t>(least, text.size() + 1);
    *out = characters > SIZE_MAX / 2 / sizeof(WCHAR)
               ? nullptr
               : static_cast<LPWSTR>(allocate(characters * sizeof(WCHAR), true));
    return *out != nullptr ? copy_out(text, *out) : fail(ERROR_NOT_ENOUGH_MEMORY, DWORD{0});
}

} // namespace

DWORD FormatMessage(DWORD dwFlags, LPCVOID lpSource, DWORD dwMessageId, DWORD /*dwLanguageId*/,
                    LPWSTR lpBuffer, DWORD nSize, va_list* Arguments) {
    if (lpBuffer == nullptr)
        return fail(ERROR_INVALID_PARAMETER, DWORD{0});
    const bool allocating = (dwFlags & FORMAT_MESSAGE_ALLOCATE_BUFFER) != 0;
    // Sources print the pointer without looking at the result.
    if (allocating)
        *reinterpret_cast<LPWSTR*>(lpBuffer) = nullptr;
    std::wstring text;
    const DWORD error = make_message(dwFlags, lpSource, dwMessageId, Arguments, text);
    if (error != 0)
        return fail(error, DWORD{0});
    if (allocating)
        return allocate_out(text, reinterpret_cast<LPWSTR*>(lpBuffer), nSize);
    return text.size() < nSize ? copy_out(text, lpBuffer) : fail(ERROR_INSUFFICIENT_BUFFER, DWORD{0});
}
