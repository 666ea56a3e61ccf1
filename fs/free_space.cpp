// Free space of file systems.
#include "text/convert.h"

#include <kalto/fs.h>
#include <string>
#include <sys/vfs.h>

using namespace kalto;

constexpr char kStore[] = "/var/zel"; // the device's object store

static void store(PULARGE_INTEGER bytes, std::uint64_t blocks, std::uint64_t block_size) {
    if (bytes != nullptr)
        bytes->QuadPart = blocks * block_size;
}

BOOL GetDiskFreeSpaceEx(LPCWSTR lpDirectoryName, PULARGE_INTEGER lpFreeBytesAvailableToCaller,
                        PULARGE_INTEGER lpTotalNumberOfBytes, PULARGE_INTEGER lpTotalNumberOfFreeBytes) {
    std::string path;
    struct statfs64 space = {};
    if (!to_path(lpDirectoryName, path))
        return FALSE;
    if (statfs64(lpDirectoryName == nullptr ? kStore : path.c_str(), &space) != 0)
        return FALSE;
    const auto block_size = static_cast<std::uint64_t>(space.f_bsize);
    store(lpFreeBytesAvailableToCaller, space.f_bavail, block_size);
    store(lpTotalNumberOfBytes, space.f_blocks, block_size);
    store(lpTotalNumberOfFreeBytes, space.f_bfree, block_size);
    return TRUE;
}

BOOL GetStoreInformation(LPSTORE_INFORMATION lpsi) {
    struct statfs64 space = {};
    if (lpsi == nullptr || statfs64(kStore, &space) != 0)
        return FALSE;
    // Deliberate: both wrap at 4 GB, for the applications that compute with 32 bits; GetDiskFreeSpaceEx does
    // not.
    const auto block_size = static_cast<std::uint64_t>(space.f_bsize);
    lpsi->dwStoreSize = static_cast<DWORD>(block_size * space.f_blocks);
    lpsi->dwFreeSize = static_cast<DWORD>(block_size * space.f_bavail);
    return TRUE;
}
