// A directory of the test's own, removed with everything in it.
#ifndef KALTO_TESTS_SCRATCH_H
#define KALTO_TESTS_SCRATCH_H

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <kalto/fs.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using Names = std::vector<std::string>;

class Scratch {
  public:
    Scratch() {
        std::string name = testing::TempDir() + "kalto.XXXXXX";
        root_ = mkdtemp(&name[0]);
        chmod(root_.c_str(), 0755);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    ~Scratch() {
        std::error_code ignored;
        std::filesystem::remove_all(root_, ignored);
    }

    std::string path(const std::string& name = "") const { return name.empty() ? root_ : root_ + "/" + name; }
    // As a Windows developer writes it.
    std::wstring wide(const std::wstring& name = L"") const {
        std::wstring text(root_.begin(), root_.end());
        std::replace(text.begin(), text.end(), L'/', L'\\');
        return name.empty() ? text : text + L"\\" + name;
    }
    std::wstring wide(const char* name) const { return wide(std::wstring(name, name + strlen(name))); }

    std::string put(const std::string& name, const std::string& text = "", mode_t mode = 0644) const {
        std::ofstream(path(name), std::ios::binary) << text;
        EXPECT_EQ(chmod(path(name).c_str(), mode), 0) << name;
        return path(name);
    }
    void make_directory(const std::string& name, mode_t mode = 0755) const {
        std::filesystem::create_directories(path(name));
        EXPECT_EQ(chmod(path(name).c_str(), mode), 0) << name;
    }
    // "-" when there is no such file.
    std::string get(const std::string& name) const {
        std::ifstream file(path(name), std::ios::binary);
        return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "-";
    }
    struct stat64 status(const std::string& name) const {
        struct stat64 status = {};
        EXPECT_EQ(stat64(path(name).c_str(), &status), 0) << name;
        return status;
    }
    // Everything in the directory, so that nothing left behind goes unnoticed.
    Names names() const {
        Names found;
        for (const auto& entry : std::filesystem::directory_iterator(root_))
            found.push_back(entry.path().filename());
        std::sort(found.begin(), found.end());
        return found;
    }
    template <typename Name>
    HANDLE open(const Name& name, DWORD access = GENERIC_READ, DWORD disposition = OPEN_EXISTING,
                DWORD flags = FILE_ATTRIBUTE_NORMAL) const {
        return CreateFile(wide(name).c_str(), access, 0, nullptr, disposition, flags, nullptr);
    }

  private:
    std::string root_;
};

#endif
