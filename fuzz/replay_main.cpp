// Runs a fuzz target over the files of the folders named on its command line.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <dirent.h>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        DIR* const folder = opendir(argv[i]);
        while (const dirent64* entry = folder == nullptr ? nullptr : readdir64(folder)) {
            if (entry->d_name[0] == '.')
                continue;
            std::ifstream in(argv[i] + std::string("/") + entry->d_name, std::ios::binary);
            const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
            const std::vector<uint8_t> bytes(text.begin(), text.end()); // a block of exactly their size
            LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
            count += in.is_open() ? 1 : 0;
        }
        if (folder != nullptr)
            closedir(folder);
    }
    std::printf("%d inputs replayed\n", count);
    return count == 0 ? 1 : 0; // a corpus that has gone missing must not pass for one that was replayed
}
