// File mappings: memory of the process, shared by name. Whatever file is named, its content is not looked at.
#include "kernel/handle_record.h"

#include <cstdlib>
#include <kalto/fs.h>

using namespace kalto;

namespace {
struct Memory {
    DWORD size;
    bool out; // nothing could be had
};
} // namespace

// Runs before anybody else can find the mapping by its name.
static void complete_mapping(HandleRecord* record, void* argument) {
    auto* memory = static_cast<Memory*>(argument);
    auto* mapping = reinterpret_cast<FileRecord*>(record);
    mapping->descriptor = -1;
    mapping->buffer_size = memory->size;
    mapping->buffer = std::calloc(1, memory->size); // zeros, as a mapping's memory has on Windows
    memory->out = mapping->buffer == nullptr;
}

HANDLE CreateFileMapping(HANDLE /*hFile*/, LPSECURITY_ATTRIBUTES /*lpAttributes*/, DWORD /*flProtect*/,
                         DWORD /*dwMaximumSizeHigh*/, DWORD dwMaximumSizeLow, LPCWSTR lpName) {
    if (lpName == nullptr)
        return nullptr;
    Memory memory = {dwMaximumSizeLow, false};
    HandleRecord* record = nullptr;
    if (create_record(HT_FILE, lpName, complete_mapping, &memory, &record) && memory.out) {
        CloseHandle(record);
        return nullptr;
    }
    return record;
}

LPVOID MapViewOfFile(HANDLE hFileMappingObject, DWORD /*dwDesiredAccess*/, DWORD /*dwFileOffsetHigh*/,
                     DWORD dwFileOffsetLow, SIZE_T /*dwNumberOfBytesToMap*/) {
    const FileRecord* mapping = file_record_of(hFileMappingObject);
    // Another opener of the name may be closing it, which ends the mapping.
    void* const buffer = mapping == nullptr ? nullptr : __atomic_load_n(&mapping->buffer, __ATOMIC_ACQUIRE);
    if (buffer == nullptr || dwFileOffsetLow > mapping->buffer_size)
        return nullptr;
    return static_cast<char*>(buffer) + dwFileOffsetLow;
}

BOOL UnmapViewOfFile(LPCVOID /*lpBaseAddress*/) {
    return TRUE;
}
