// A file that is read from its beginning to its end, by lines or at once.
#ifndef STOCKSCAN_INPUT_FILE_H
#define STOCKSCAN_INPUT_FILE_H

#include <string>
#include <windows.h>

class InputFile {
  public:
    InputFile() = default;
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    // False with the last error when there is no such file or it may not be read.
    bool Open(const std::wstring& path);
    // When the file was written last.
    const FILETIME& Changed() const { return changed_; }

    // The next line without the line feed that ends it; false at the end and when reading failed. A last line
    // needs no line feed.
    bool ReadLine(std::string& line);
    // The rest of the file; false when reading failed.
    bool ReadRest(std::string& text);
    // ERROR_SUCCESS, or why reading failed.
    DWORD Error() const { return error_; }

  private:
    bool ReadPiece();

    HANDLE file_ = INVALID_HANDLE_VALUE;
    FILETIME changed_ = {};
    std::string piece_;
    size_t next_ = 0; // of the characters of piece_ that were not handed out yet
    DWORD error_ = ERROR_SUCCESS;
};

#endif
