// A directory of the test's own, removed with everything in it.
#ifndef KALTO_TESTS_HOST_SANDBOX_H
#define KALTO_TESTS_HOST_SANDBOX_H

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <vector>

class Sandbox : public testing::Test {
  protected:
    Sandbox() {
        char name[] = "/tmp/kalto-host-XXXXXX";
        root_ = mkdtemp(name);
    }
    ~Sandbox() override { std::filesystem::remove_all(root_); }

    std::string path(const std::string& name) const { return root_ + "/" + name; }
    std::wstring wide(const std::string& name) const {
        std::string full = path(name);
        return std::wstring(full.begin(), full.end());
    }
    // As a Windows developer writes it.
    std::wstring windows(const std::string& name) const {
        std::wstring text = wide(name);
        std::replace(text.begin(), text.end(), L'/', L'\\');
        return text;
    }

    void put(const std::string& name, const std::string& text, mode_t mode = 0644) const {
        std::ofstream(path(name), std::ios::binary) << text;
        chmod(path(name).c_str(), mode);
    }
    // "-" when there is no such file.
    std::string get(const std::string& name) const {
        std::ifstream file(path(name), std::ios::binary);
        return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "-";
    }
    mode_t mode(const std::string& name) const {
        struct stat status = {};
        return stat(path(name).c_str(), &status) == 0 ? status.st_mode & 0777 : 0;
    }
    // Everything in the directory, so that nothing left behind goes unnoticed.
    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(root_))
            found.push_back(entry.path().filename());
        std::sort(found.begin(), found.end());
        return found;
    }

    std::string root_;
};

using Names = std::vector<std::string>;

#endif
