// Local memory is the C library's.
#include <cstdlib>
#include <kalto/system.h>

HLOCAL LocalFree(HLOCAL hMem) {
    free(hMem);
    return nullptr;
}
