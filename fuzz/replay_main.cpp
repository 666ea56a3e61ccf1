// Runs a fuzz target over the files of the folders (or the files) named on its command line.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <dirent.h>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

bool replay_file(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "cannot read %s\n", path.c_str());
        return false;
    }
    const std::vector<char> text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const std::vector<uint8_t> bytes(text.begin(), text.end());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    return true;
}

// The number of inputs replayed, or -1 when the folder or one of its files cannot be read.
int replay_folder(const std::string& folder) {
    DIR* directory = opendir(folder.c_str());
    if (directory == nullptr) {
        std::fprintf(stderr, "cannot read %s\n", folder.c_str());
        return -1;
    }
    int count = 0;
    while (const dirent64* entry = readdir64(directory)) {
        if (entry->d_name[0] == '.')
            continue;
        if (!replay_file(folder + "/" + entry->d_name)) {
            closedir(directory);
            return -1;
        }
        ++count;
    }
    closedir(directory);
    return count;
}

} // namespace

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        const int count = replay_folder(argv[i]);
        // A corpus that has gone missing must not pass for one that was replayed.
        if (count <= 0) {
            std::fprintf(stderr, "no input replayed from %s\n", argv[i]);
            return 1;
        }
        std::printf("%d inputs replayed from %s\n", count, argv[i]);
    }
    return argc > 1 ? 0 : 1;
}
