#include "figures.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <string>
#include <unistd.h>

namespace {

const size_t kWarmUp = 5; // rounds
const struct {
    const char* name;
    size_t rounds; // whose lowest figure counts
    long bound;
} kRules[kFigures] = {{"resident memory (KB)", 5, 0},
                      {"heap in use (KB)", 5, 64},
                      {"number of mappings", 5, 16}, // the C library keeps some stacks and heaps for later
                      {"number of open descriptors", 1, 0},
                      {"number of threads", 1, 0}};

long StatusLine(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;)
        if (word == name && status >> word)
            return std::stol(word);
    return -1;
}

long CountMappings() {
    std::ifstream maps("/proc/self/maps");
    return static_cast<long>(std::count(std::istreambuf_iterator<char>(maps), {}, '\n'));
}

} // namespace

Figures TakeFigures() {
    static const long fewest = StatusLine("Threads:");
    for (int i = 0; i < 1000 && StatusLine("Threads:") > fewest; ++i)
        usleep(10000);
    const struct mallinfo2 heap = mallinfo2();
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return {StatusLine("VmRSS:"), static_cast<long>((heap.uordblks + heap.hblkhd) / 1024), CountMappings(),
            std::distance(begin(descriptors), end(descriptors)), StatusLine("Threads:")};
}

bool Grown(const char* process, const std::vector<Figures>& rounds, long resident_bound) {
    bool grown = false;
    for (size_t i = 0; i < kFigures; ++i) {
        const auto& rule = kRules[i];
        if (rounds.size() < kWarmUp + rule.rounds || (i == kResident && resident_bound == 0))
            continue;
        const auto less = [i](const Figures& a, const Figures& b) { return a[i] < b[i]; };
        const long highest = (*std::max_element(rounds.begin(), rounds.begin() + kWarmUp, less))[i];
        const long lowest = (*std::min_element(rounds.end() - rule.rounds, rounds.end(), less))[i];
        const long bound = i == kResident ? resident_bound : rule.bound;
        if (lowest <= highest + bound)
            continue;
        fprintf(stderr, "soak: %s: %s grew from %ld to %ld, beyond the bound of %ld\n", process, rule.name,
                highest, lowest, bound);
        grown = true;
    }
    return grown;
}
