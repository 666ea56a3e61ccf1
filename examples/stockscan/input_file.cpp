#include "input_file.h"

namespace {
const DWORD kPieceSize = 4096;
}

InputFile::~InputFile() {
    if (file_ != INVALID_HANDLE_VALUE)
        CloseHandle(file_);
}

bool InputFile::Open(const std::wstring& path) {
    file_ = CreateFile(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
    return file_ != INVALID_HANDLE_VALUE && GetFileTime(file_, nullptr, nullptr, &changed_);
}

bool InputFile::ReadPiece() {
    DWORD read = 0;
    piece_.resize(kPieceSize);
    if (!ReadFile(file_, &piece_[0], kPieceSize, &read, nullptr)) {
        error_ = GetLastError();
        read = 0;
    }
    piece_.resize(read);
    next_ = 0;
    return read != 0;
}

bool InputFile::ReadLine(std::string& line) {
    line.clear();
    bool found = false;
    while (next_ < piece_.size() || ReadPiece()) {
        found = true;
        const size_t end = piece_.find('\n', next_);
        line.append(piece_, next_, end - next_);
        next_ = end == std::string::npos ? piece_.size() : end + 1;
        if (end != std::string::npos)
            return true;
    }
    return found && error_ == ERROR_SUCCESS;
}

bool InputFile::ReadRest(std::string& text) {
    text.assign(piece_, next_, std::string::npos);
    while (ReadPiece())
        text += piece_;
    next_ = piece_.size();
    return error_ == ERROR_SUCCESS;
}
