// GetTempFileName.
#include "porting/failure.h"
#include "text/convert.h"

#include <cerrno>
#include <fcntl.h>
#include <kalto/porting.h>
#include <new>
#include <unistd.h>

using namespace kalto;

namespace {

constexpr size_t kLongestPrefix = 3;
constexpr UINT kNumbers = 0xFFFF; // 1 to it

// Throws when memory is out.
std::wstring name_of(LPCWSTR directory, LPCWSTR prefix, UINT number) {
    std::wstring name = directory;
    if (!name.empty() && name.back() != L'\\' && name.back() != L'/')
        name += L'\\';
    name.append(prefix, wcsnlen(prefix, kLongestPrefix));
    WCHAR digits[sizeof "FFFF"];
    swprintf(digits, ARRAYSIZE(digits), L"%X", number);
    return name + digits + L".TMP";
}

// 0, or the number of the error.
int create_empty(const std::wstring& name) {
    constexpr mode_t kEverybody = 0666; // less the umask
    std::string path;
    if (!to_path(name.c_str(), path))
        return errno;
    const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kEverybody);
    if (descriptor < 0)
        return errno;
    close(descriptor);
    return 0;
}

// The first number from a start that differs between processes whose file does not exist yet; 0 with errno.
UINT create_new(LPCWSTR directory, LPCWSTR prefix, std::wstring& name) {
    const UINT start = static_cast<UINT>(getpid()) * 17 + GetTickCount();
    for (UINT i = 0; i < kNumbers; ++i) {
        const UINT number = (start + i) % kNumbers + 1;
        name = name_of(directory, prefix, number);
        errno = create_empty(name);
        if (errno == 0)
            return number;
        if (errno != EEXIST)
            return 0;
    }
    return 0;
}

} // namespace

UINT GetTempFileName(LPCWSTR lpPathName, LPCWSTR lpPrefixString, UINT uUnique, LPWSTR lpTempFileName) {
    if (lpPathName == nullptr || lpTempFileName == nullptr)
        return fail(ERROR_INVALID_PARAMETER, 0u);
    const LPCWSTR prefix = lpPrefixString != nullptr ? lpPrefixString : L"";
    try {
        UINT number = uUnique & kNumbers;
        std::wstring name = name_of(lpPathName, prefix, kNumbers);
        if (name.size() >= MAX_PATH)
            return fail(ERROR_BUFFER_OVERFLOW, 0u);
        if (number != 0)
            name = name_of(lpPathName, prefix, number);
        else if ((number = create_new(lpPathName, prefix, name)) == 0)
            return fail(static_cast<DWORD>(errno), 0u);
        wmemcpy(lpTempFileName, name.c_str(), name.size() + 1);
        return number;
    } catch (const std::bad_alloc&) {
        return fail(ERROR_NOT_ENOUGH_MEMORY, 0u);
    }
}
