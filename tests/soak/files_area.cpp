// Files that are made, read, copied, moved, listed and deleted, mapped memory, and modules.
#include "station.h"

#include <vector>

namespace {

const DWORD kLargest = 100000;

std::vector<BYTE> Pattern(Station& station) {
    std::vector<BYTE> bytes(station.Random(kLargest));
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<BYTE>(i * 7 + bytes.size());
    return bytes;
}

void Write(Station& station, const std::wstring& path, const std::vector<BYTE>& bytes) {
    HANDLE file = CreateFile(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    station.Expect(file != INVALID_HANDLE_VALUE, "CreateFile for writing");
    DWORD written = 0;
    station.Expect(WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) &&
                       written == bytes.size(),
                   "WriteFile");
    station.Expect(CloseHandle(file) != FALSE, "CloseHandle");
}

void ReadBack(Station& station, const std::wstring& path, const std::vector<BYTE>& bytes) {
    HANDLE file = CreateFile(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    station.Expect(file != INVALID_HANDLE_VALUE, "CreateFile for reading");
    std::vector<BYTE> back(bytes.size() + 1);
    DWORD read = 0;
    station.Expect(GetFileSize(file, nullptr) == bytes.size(), "GetFileSize");
    station.Expect(ReadFile(file, back.data(), static_cast<DWORD>(back.size()), &read, nullptr) != FALSE,
                   "ReadFile");
    back.resize(read);
    station.Expect(back == bytes, "what was written");
    const DWORD middle = static_cast<DWORD>(bytes.size() / 2);
    station.Expect(SetFilePointer(file, static_cast<LONG>(middle), nullptr, FILE_BEGIN) == middle,
                   "SetFilePointer");
    FILETIME changed;
    BY_HANDLE_FILE_INFORMATION information;
    station.Expect(GetFileTime(file, nullptr, nullptr, &changed) &&
                       GetFileInformationByHandle(file, &information),
                   "what is known of an open file");
    CloseHandle(file);
}

DWORD CountFiles(const std::wstring& directory) {
    WIN32_FIND_DATA found;
    DWORD count = 0;
    HANDLE search = FindFirstFile((directory + L"\\*.dat").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE)
        return 0;
    do {
        ++count;
    } while (FindNextFile(search, &found));
    FindClose(search);
    return count;
}

void CopyAndMove(Station& station) {
    const std::wstring& directory = station.Directory();
    const std::wstring first = directory + L"\\first.dat";
    const std::wstring second = directory + L"\\second.dat";
    const std::wstring third = directory + L"\\third.dat";
    const std::vector<BYTE> bytes = Pattern(station);
    station.Expect(CreateDirectory(directory.c_str(), nullptr) != FALSE, "CreateDirectory");
    Write(station, first, bytes);
    ReadBack(station, first, bytes);
    station.Expect(CopyFile(first.c_str(), second.c_str(), TRUE) != FALSE, "CopyFile");
    station.Expect(!CopyFile(first.c_str(), second.c_str(), TRUE), "CopyFile onto a file");
    station.Expect(CopyFile(first.c_str(), second.c_str(), FALSE) != FALSE, "CopyFile in place of a file");
    station.Expect(MoveFile(second.c_str(), third.c_str()) != FALSE, "MoveFile");
    station.Expect(!MoveFile(second.c_str(), third.c_str()), "MoveFile of nothing");
    ReadBack(station, third, bytes);
    station.Expect(CountFiles(directory) == 2, "every file is listed");
    station.Expect(SetFileAttributes(third.c_str(), FILE_ATTRIBUTE_READONLY) && !DeleteFile(third.c_str()) &&
                       SetFileAttributes(third.c_str(), 0) && DeleteFile(third.c_str()),
                   "a read-only file");
    station.Expect(!RemoveDirectory(directory.c_str()), "RemoveDirectory of a full one");
    station.Expect(DeleteFile(first.c_str()) && RemoveDirectory(directory.c_str()), "the end of it");
    station.Expect(CreateFile(first.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr) ==
                       INVALID_HANDLE_VALUE,
                   "a file that is not there");
}

void Map(Station& station) {
    const std::wstring name = station.OwnName(L"mapping");
    HANDLE mapping = CreateFileMapping(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 50000, name.c_str());
    BYTE* first = static_cast<BYTE*>(MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, 0));
    HANDLE opened = OpenFileMapping(FILE_MAP_READ, FALSE, name.c_str());
    BYTE* second = static_cast<BYTE*>(MapViewOfFile(opened, FILE_MAP_READ, 0, 0, 0));
    station.Expect(first != nullptr && second != nullptr, "MapViewOfFile");
    if (first != nullptr && second != nullptr) {
        first[49999] = 123;
        station.Expect(second[49999] == 123, "the same memory");
    }
    UnmapViewOfFile(first);
    CloseHandle(mapping);
    CloseHandle(opened);
}

void Load(Station& station) {
    HMODULE module = LoadLibrary(KALTO_SOAK_MODULE);
    station.Expect(module != nullptr && GetProcAddress(module, L"module_marker") != nullptr, "LoadLibrary");
    station.Expect(FreeLibrary(module) != FALSE, "FreeLibrary");
    station.Expect(LoadLibrary((station.Directory() + L"\\none.dll").c_str()) == nullptr, "no module");
}

} // namespace

void FilesStep(Station& station) {
    CopyAndMove(station);
    Map(station);
    Load(station);
}
