// A directory of the test's own, removed with everything in it.
#ifndef TESTS_FS_SCRATCH_H
#define TESTS_FS_SCRATCH_H

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <kalto/fs.h>
#include <kalto/kernel.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

class Scratch {
  public:
    Scratch() {
        std::string name = testing::TempDir() + "kalto_fs.XXXXXX";
        path_ = mkdtemp(&name[0]);
        chmod(path_.c_str(), 0755);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    ~Scratch() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    std::string path(const std::string& name = "") const { return name.empty() ? path_ : path_ + "/" + name; }

    // As an application writes it.
    std::wstring wide(const std::wstring& name = L"") const {
        std::wstring text(path_.begin(), path_.end());
        for (wchar_t& character : text)
            if (character == L'/')
                character = L'\\';
        return name.empty() ? text : text + L"\\" + name;
    }

    std::string file(const std::string& name, const std::string& content = "", mode_t mode = 0644) const {
        const int descriptor = open(path(name).c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        EXPECT_EQ(write(descriptor, content.data(), content.size()), static_cast<ssize_t>(content.size()));
        EXPECT_EQ(fchmod(descriptor, mode), 0);
        close(descriptor);
        return path(name);
    }

    std::string directory(const std::string& name, mode_t mode = 0755) const {
        EXPECT_EQ(mkdir(path(name).c_str(), 0700), 0);
        EXPECT_EQ(chmod(path(name).c_str(), mode), 0);
        return path(name);
    }

    HANDLE open_file(const std::wstring& name, DWORD access = GENERIC_READ) const {
        HANDLE handle = CreateFile(wide(name).c_str(), access, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        EXPECT_NE(handle, INVALID_HANDLE_VALUE);
        return handle;
    }

  private:
    std::string path_;
};

inline struct stat64 status_of(const std::string& path) {
    struct stat64 status = {};
    EXPECT_EQ(stat64(path.c_str(), &status), 0) << path;
    return status;
}

inline ULONGLONG ticks(const FILETIME& time) {
    return (ULONGLONG{time.dwHighDateTime} << 32) | time.dwLowDateTime;
}

inline ULONGLONG ticks(std::int64_t seconds) {
    return static_cast<ULONGLONG>(seconds + 11644473600) * 10000000;
}

#endif
