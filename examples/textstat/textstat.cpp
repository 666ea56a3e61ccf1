// textstat FILE...: counts lines, words and bytes, as wc does.
//
// Words are maximal runs of bytes that are not blank. Names that hold blanks are put in double quotes (which
// the shell must be kept from taking away). The exit status is the number of files that could not be read; it
// stops at 255, the largest that the system passes on, so that it never looks like success.
#include <windows.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

const DWORD kPieceSize = 64 * 1024;
const int kLargestStatus = 255;

struct Counts {
    ULONGLONG lines = 0;
    ULONGLONG words = 0;
    ULONGLONG bytes = 0;

    void Add(const Counts& other) {
        lines += other.lines;
        words += other.words;
        bytes += other.bytes;
    }
};

struct File {
    std::string name;
    Counts counts;
    bool readable = false;
};

bool IsBlank(BYTE byte) {
    return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

// inWord tells whether the piece before ended in a word, which then goes on here.
void CountPiece(const BYTE* piece, DWORD size, Counts& counts, bool& inWord) {
    counts.bytes += size;
    for (const BYTE* byte = piece; byte != piece + size; ++byte) {
        if (*byte == '\n')
            ++counts.lines;
        bool blank = IsBlank(*byte);
        if (!blank && !inWord)
            ++counts.words;
        inWord = !blank;
    }
}

bool CountOpenFile(HANDLE file, Counts& counts) {
    std::vector<BYTE> piece(kPieceSize);
    bool inWord = false;
    DWORD read = 0;
    do {
        if (!ReadFile(file, piece.data(), kPieceSize, &read, nullptr))
            return false;
        CountPiece(piece.data(), read, counts, inWord);
    } while (read > 0);
    return true;
}

bool CountFile(const std::wstring& name, Counts& counts) {
    HANDLE file = CreateFile(name.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                             FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    bool counted = CountOpenFile(file, counts);
    DWORD error = GetLastError();
    CloseHandle(file);
    SetLastError(error);
    return counted;
}

bool Widen(const std::string& narrow, std::wstring& wide) {
    wide.resize(narrow.size());
    size_t length = mbstowcs(&wide[0], narrow.c_str(), wide.size());
    wide.resize(length == static_cast<size_t>(-1) ? 0 : length);
    return length != static_cast<size_t>(-1);
}

std::vector<File> FilesOnCommandLine() {
    std::vector<File> files;
    const char* text = GetCommandLineA();
    while (*(text += strspn(text, " ")) != '\0') {
        bool quoted = *text == '"';
        text += quoted ? 1 : 0;
        size_t length = strcspn(text, quoted ? "\"" : " ");
        files.push_back({std::string(text, length), Counts(), false});
        text += length;
        text += quoted && *text == '"' ? 1 : 0;
    }
    return files;
}

void ReportFailure(const std::string& name) {
    DWORD error = GetLastError();
    const char* symbol = error < ARRAYSIZE(ename) ? ename[error] : "";
    fprintf(stderr, "textstat: %s: error %lu (%s)\n", name.c_str(), static_cast<unsigned long>(error),
            symbol);
}

void PrintCounts(const Counts& counts, int width, const char* name) {
    printf("%*llu %*llu %*llu %s\n", width, counts.lines, width, counts.words, width, counts.bytes, name);
}

} // namespace

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    // The names are in the user's encoding; lpCmdLine was made before the next line could say so.
    setlocale(LC_CTYPE, "");
    std::vector<File> files = FilesOnCommandLine();
    if (files.empty())
        fprintf(stderr, "usage: textstat FILE...\n");

    Counts total;
    int failures = 0;
    for (File& file : files) {
        std::wstring name;
        SetLastError(ERROR_INVALID_NAME);
        file.readable = Widen(file.name, name) && CountFile(name, file.counts);
        if (file.readable) {
            total.Add(file.counts);
        } else {
            ReportFailure(file.name);
            ++failures;
        }
    }

    int width = static_cast<int>(std::to_string(total.bytes).size());
    for (const File& file : files)
        if (file.readable)
            PrintCounts(file.counts, width, file.name.c_str());
    if (files.size() > 1)
        PrintCounts(total, width, "total");
    return std::min(failures, kLargestStatus);
}
