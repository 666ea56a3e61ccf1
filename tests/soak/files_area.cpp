// Files that are made, read, copied, moved, listed and deleted, mapped memory, and modules.
#include "soak.h"

#include <vector>

namespace {

void Write(const std::wstring& path, const std::vector<BYTE>& bytes) {
    HANDLE file = CreateFile(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    const DWORD size = static_cast<DWORD>(bytes.size());
    DWORD written = 0;
    Expect(WriteFile(file, bytes.data(), size, &written, nullptr) && written == size, "WriteFile");
    Expect(CloseHandle(file) != FALSE, "CloseHandle");
}

void ReadBack(const std::wstring& path, const std::vector<BYTE>& bytes) {
    HANDLE file = CreateFile(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    std::vector<BYTE> back(bytes.size() + 1);
    DWORD read = 0;
    Expect(ReadFile(file, back.data(), static_cast<DWORD>(back.size()), &read, nullptr) != FALSE, "ReadFile");
    back.resize(read);
    Expect(back == bytes, "what was written");
    CloseHandle(file);
}

DWORD CountFiles(const std::wstring& directory) {
    WIN32_FIND_DATA found;
    HANDLE search = FindFirstFile((directory + L"\\*.dat").c_str(), &found);
    DWORD count = search != INVALID_HANDLE_VALUE ? 1 : 0;
    while (count > 0 && FindNextFile(search, &found))
        ++count;
    FindClose(search);
    return count;
}

void CopyAndMove(const std::wstring& directory) {
    const std::wstring path = directory + L"\\first.dat", second_path = directory + L"\\second.dat";
    const LPCWSTR first = path.c_str(), second = second_path.c_str();
    const std::vector<BYTE> bytes(Random(100000), static_cast<BYTE>(Random(256)));
    CreateDirectory(directory.c_str(), nullptr);
    Write(path, bytes);
    ReadBack(path, bytes);
    Expect(CopyFile(first, second, TRUE) && !CopyFile(first, second, TRUE), "CopyFile to no file");
    Expect(CopyFile(first, second, FALSE) != FALSE, "CopyFile in place of a file");
    Expect(CountFiles(directory) == 2, "every file is listed");
    Expect(DeleteFile(first) && MoveFile(second, first) && !MoveFile(second, first), "MoveFile");
    ReadBack(path, bytes);
    Expect(DeleteFile(first) && RemoveDirectory(directory.c_str()), "the end of it");
    Expect(CreateFile(first, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr) == INVALID_HANDLE_VALUE,
           "a file that is not there");
}

void Map(LPCWSTR name) {
    HANDLE mapping = CreateFileMapping(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 50000, name);
    BYTE* first = static_cast<BYTE*>(MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, 0));
    HANDLE opened = OpenFileMapping(FILE_MAP_READ, FALSE, name);
    BYTE* second = static_cast<BYTE*>(MapViewOfFile(opened, FILE_MAP_READ, 0, 0, 0));
    if (first != nullptr)
        first[49999] = 123;
    Expect(second != nullptr && second[49999] == 123, "the same memory");
    UnmapViewOfFile(first);
    CloseHandle(mapping);
    CloseHandle(opened);
}

void Load() {
    HMODULE module = LoadLibrary(KALTO_SOAK_MODULE);
    Expect(module != nullptr && GetProcAddress(module, L"module_marker") != nullptr, "LoadLibrary");
    FreeLibrary(module);
    Expect(LoadLibrary(L"none.dll") == nullptr, "no module");
}

} // namespace

void FilesStep(const std::wstring& own) {
    CopyAndMove(own);
    Map(own.c_str());
    Load();
}
