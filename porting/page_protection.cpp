// VirtualProtect.
#include "porting/failure.h"
#include "porting/region.h"

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <kalto/porting.h>
#include <sys/mman.h>

using namespace kalto;

namespace {

DWORD access_of(const char* letters) { // "rwx", with dashes
    const bool writes = letters[1] == 'w';
    if (letters[2] == 'x')
        return writes ? PAGE_EXECUTE_READWRITE : letters[0] == 'r' ? PAGE_EXECUTE_READ : PAGE_EXECUTE;
    return writes ? PAGE_READWRITE : letters[0] == 'r' ? PAGE_READONLY : PAGE_NOACCESS;
}

// The access to one page as the system has it. An emulator may leave out the pages that nobody has access to.
// False when the system does not tell.
bool read_access(uintptr_t page, DWORD& access) {
    FILE* const maps = fopen("/proc/self/maps", "re");
    if (maps == nullptr)
        return false;
    access = PAGE_NOACCESS;
    char line[512]; // the rest of a longer one is no range of its own
    while (fgets(line, sizeof line, maps) != nullptr) {
        uintptr_t begin = 0;
        uintptr_t end = 0;
        char letters[5];
        if (sscanf(line, "%" SCNxPTR "-%" SCNxPTR " %4s", &begin, &end, letters) == 3 && begin <= page &&
            page < end)
            access = access_of(letters);
    }
    fclose(maps);
    return true;
}

} // namespace

BOOL VirtualProtect(LPVOID lpAddress, SIZE_T dwSize, DWORD flNewProtect, PDWORD lpflOldProtect) {
    const int protection = protection_of(flNewProtect);
    if (dwSize == 0 || lpflOldProtect == nullptr || protection == kUnknownProtection)
        return fail(ERROR_INVALID_PARAMETER, FALSE);
    const PageRange pages = pages_of(lpAddress, dwSize);
    DWORD before = 0;
    if (pages.end == 0)
        return fail(ERROR_INVALID_ADDRESS, FALSE);
    if (!read_access(pages.begin, before))
        return fail(static_cast<DWORD>(errno), FALSE);
    if (mprotect(pages.address(), pages.size(), protection) != 0)
        return fail(errno == ENOMEM ? DWORD{ERROR_INVALID_ADDRESS} : static_cast<DWORD>(errno), FALSE);
    *lpflOldProtect = before;
    return TRUE;
}
