// dirlist [/s] [DIRECTORY | DIRECTORY\PATTERN]: lists a directory as dir does: local time of the last change,
// attributes (D directory, R read-only, H hidden), size and name, with totals and the free space. /s walks
// the whole tree. A name that holds blanks is put in double quotes (which the shell must be kept from taking
// away). The exit status is 0, or 1 when nothing was found or a directory could not be opened.
#include <windows.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

struct Totals {
    unsigned files = 0;
    unsigned directories = 0;
    ULONGLONG bytes = 0;

    void Add(const Totals& other) {
        files += other.files;
        directories += other.directories;
        bytes += other.bytes;
    }
};

struct Entry {
    std::wstring name;
    DWORD attributes;
    ULONGLONG size;
    FILETIME changed;

    bool IsDirectory() const { return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }
};

struct Request {
    bool wholeTree = false;
    std::wstring directory = L".";
    std::wstring pattern = L"*";
};

bool IsNavigation(const std::wstring& name) {
    return name == L"." || name == L"..";
}

// The find record holds the file's mode here, so the attributes are asked for by name.
Entry MakeEntry(const std::wstring& directory, const WIN32_FIND_DATA& found) {
    const DWORD attributes = GetFileAttributes((directory + L"\\" + found.cFileName).c_str());
    const ULONGLONG size = (static_cast<ULONGLONG>(found.nFileSizeHigh) << 32) | found.nFileSizeLow;
    return {found.cFileName, attributes == INVALID_FILE_ATTRIBUTES ? 0 : attributes, size,
            found.ftLastWriteTime};
}

std::vector<Entry> Find(const std::wstring& directory, const std::wstring& pattern) {
    std::vector<Entry> entries;
    WIN32_FIND_DATA found;
    HANDLE search = FindFirstFile((directory + L"\\" + pattern).c_str(), &found);
    if (search == INVALID_HANDLE_VALUE)
        return entries;
    do {
        if (!IsNavigation(found.cFileName))
            entries.push_back(MakeEntry(directory, found));
    } while (FindNextFile(search, &found));
    FindClose(search);
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.name < b.name; });
    return entries;
}

std::wstring Grouped(ULONGLONG number) {
    std::wstring digits = std::to_wstring(number);
    for (size_t i = digits.size(); i > 3; i -= 3)
        digits.insert(i - 3, L",");
    return digits;
}

std::wstring LocalTime(const FILETIME& time) {
    FILETIME local;
    SYSTEMTIME parts;
    if (!FileTimeToLocalFileTime(&time, &local) || !FileTimeToSystemTime(&local, &parts))
        return L"----------  --:--";
    WCHAR clock[16] = L"";
    GetTimeFormat(LOCALE_USER_DEFAULT, TIME_NOSECONDS, &parts, NULL, clock, ARRAYSIZE(clock) - 1);
    WCHAR text[40];
    wsprintf(text, L"%04d-%02d-%02d  %s", parts.wYear, parts.wMonth, parts.wDay, clock);
    return text;
}

void PrintEntry(const Entry& entry) {
    const wint_t directory = entry.IsDirectory() ? L'D' : L' ';
    const wint_t readOnly = (entry.attributes & FILE_ATTRIBUTE_READONLY) != 0 ? L'R' : L' ';
    const wint_t hidden = DIR_is_hidden_file(entry.name.c_str()) ? L'H' : L' ';
    const std::wstring size = entry.IsDirectory() ? L"<DIR>" : Grouped(entry.size);
    wprintf(L"%ls  %lc%lc%lc  %15ls  %ls\n", LocalTime(entry.changed).c_str(), directory, readOnly, hidden,
            size.c_str(), entry.name.c_str());
}

Totals PrintDirectory(const std::wstring& directory, const std::vector<Entry>& entries) {
    Totals totals;
    wprintf(L"\n Directory of %ls\n\n", directory.c_str());
    for (const Entry& entry : entries) {
        PrintEntry(entry);
        if (entry.IsDirectory()) {
            ++totals.directories;
        } else {
            ++totals.files;
            totals.bytes += entry.size;
        }
    }
    wprintf(L"%10u File(s) %20ls bytes\n", totals.files, Grouped(totals.bytes).c_str());
    return totals;
}

// What tells a directory from all others, so that a link to a directory above does not lead round in circles.
bool Identify(const std::wstring& directory, DWORD& identity) {
    HANDLE handle = CreateFile(directory.c_str(), GENERIC_READ, FILE_SHARE_READ, NULL, OPEN_EXISTING,
                               FILE_FLAG_BACKUP_SEMANTICS, NULL);
    if (handle == INVALID_HANDLE_VALUE)
        return false;
    BY_HANDLE_FILE_INFORMATION information;
    const BOOL told = GetFileInformationByHandle(handle, &information);
    CloseHandle(handle);
    identity = information.nFileIndexLow;
    return told != FALSE;
}

class Lister {
  public:
    explicit Lister(const Request& request) : request_(request) {}

    void List(const std::wstring& directory) {
        DWORD identity = 0;
        if (!Identify(directory, identity)) {
            fwprintf(stderr, L"dirlist: cannot open %ls: error %lu\n", directory.c_str(),
                     static_cast<unsigned long>(GetLastError()));
            failed_ = true;
            return;
        }
        if (std::find(above_.begin(), above_.end(), identity) != above_.end())
            return;
        const std::vector<Entry> entries = Find(directory, request_.pattern);
        if (!entries.empty() || !request_.wholeTree)
            totals_.Add(PrintDirectory(directory, entries));
        if (!request_.wholeTree)
            return;
        above_.push_back(identity);
        for (const Entry& entry : request_.pattern == L"*" ? entries : Find(directory, L"*"))
            if (entry.IsDirectory())
                List(directory + L"\\" + entry.name);
        above_.pop_back();
    }

    const Totals& Result() const { return totals_; }
    bool Failed() const { return failed_ || totals_.files + totals_.directories == 0; }

  private:
    const Request& request_;
    std::vector<DWORD> above_;
    Totals totals_;
    bool failed_ = false;
};

void PrintTotals(const Request& request, const Totals& totals) {
    if (request.wholeTree)
        wprintf(L"\n     Total Files Listed:\n%10u File(s) %20ls bytes\n", totals.files,
                Grouped(totals.bytes).c_str());
    ULARGE_INTEGER available;
    if (GetDiskFreeSpaceEx(request.directory.c_str(), &available, NULL, NULL))
        wprintf(L"%10u Dir(s)  %20ls bytes free\n", totals.directories, Grouped(available.QuadPart).c_str());
}

std::vector<std::wstring> Arguments() {
    // The locale is only now the user's: the wide command line was made before.
    const char* narrow = GetCommandLineA();
    std::wstring line(strlen(narrow), L'\0');
    const size_t length = mbstowcs(&line[0], narrow, line.size());
    line.resize(length == static_cast<size_t>(-1) ? 0 : length);
    std::vector<std::wstring> arguments;
    for (size_t at = line.find_first_not_of(L' '); at < line.size(); at = line.find_first_not_of(L' ', at)) {
        const bool quoted = line[at] == L'"';
        at += quoted ? 1 : 0;
        const size_t end = std::min(line.find(quoted ? L'"' : L' ', at), line.size());
        arguments.push_back(line.substr(at, end - at));
        at = end + 1;
    }
    return arguments;
}

Request ParseArguments() {
    Request request;
    for (const std::wstring& argument : Arguments()) {
        const DWORD attributes = GetFileAttributes(argument.c_str());
        const size_t separator = argument.find_last_of(L"\\/");
        if (argument == L"/s" || argument == L"-s") {
            request.wholeTree = true;
        } else if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
            request.directory = argument;
        } else if (separator == std::wstring::npos) {
            request.pattern = argument;
        } else {
            request.directory = separator == 0 ? argument.substr(0, 1) : argument.substr(0, separator);
            request.pattern = argument.substr(separator + 1);
        }
    }
    std::replace(request.directory.begin(), request.directory.end(), L'/', L'\\');
    return request;
}

} // namespace

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    setlocale(LC_ALL, "");
    const Request request = ParseArguments();
    Lister lister(request);
    lister.List(request.directory);
    PrintTotals(request, lister.Result());
    return lister.Failed() ? 1 : 0;
}
