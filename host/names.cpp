// The names of the user and of the machine.
#include "host/narrow_text.h"
#include "host/refusal.h"
#include <kalto/errors.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <pwd.h>
#include <unistd.h>

namespace kalto {

constexpr size_t kLongestName = 256; // also in characters
constexpr size_t kEntrySize = 4096;

enum class Counted { kWithTerminator, kWithoutTerminator };

// Stores a name in the manner of the Windows name calls: too little room is told by the room that is needed.
static BOOL store_name(const char* name, LPWSTR buffer, LPDWORD size, Counted counted) {
    if (size == nullptr)
        return refuse(EINVAL);
    wchar_t wide[kLongestName + 1];
    size_t length = mbstowcs(wide, name, kLongestName);
    if (length == static_cast<size_t>(-1))
        return refuse(EILSEQ);
    wide[length] = L'\0';
    DWORD needed = static_cast<DWORD>(length) + 1;
    if (buffer == nullptr || *size < needed) {
        *size = needed;
        return refuse(ERROR_INSUFFICIENT_BUFFER);
    }
    memcpy(buffer, wide, needed * sizeof(wchar_t));
    *size = counted == Counted::kWithTerminator ? needed : needed - 1;
    return TRUE;
}

} // namespace kalto

using namespace kalto;

BOOL PTR_GetUserName(LPWSTR lpBuffer, LPDWORD lpnSize) {
    char text[kEntrySize];
    passwd entry = {};
    passwd* found = nullptr;
    if (getpwuid_r(geteuid(), &entry, text, sizeof text, &found) == 0 && found != nullptr)
        return store_name(found->pw_name, lpBuffer, lpnSize, Counted::kWithTerminator);
    snprintf(text, sizeof text, "%lu", static_cast<unsigned long>(geteuid()));
    return store_name(text, lpBuffer, lpnSize, Counted::kWithTerminator);
}

BOOL PTR_GetHostName(LPWSTR lpBuffer, LPDWORD lpnSize) {
    char name[kLongestName] = {};
    if (gethostname(name, sizeof name - 1) != 0)
        return refuse(errno);
    return store_name(name, lpBuffer, lpnSize, Counted::kWithoutTerminator);
}

BOOL PTR_SetHostName(LPCWSTR lpName, DWORD dwLength) {
    NarrowText name(lpName, dwLength, NarrowText::Backslashes::kKept);
    if (name.get() == nullptr || sethostname(name.get(), strlen(name.get())) != 0)
        return refuse(errno);
    return TRUE;
}
