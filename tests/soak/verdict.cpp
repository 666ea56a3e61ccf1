#include "verdict.h"

#include <algorithm>
#include <cstdio>

namespace {

const size_t kRoundsForMemory = 5;
const long kHeapBound = 64;     // KB
const long kMappingsBound = 16; // the C library keeps some stacks and heaps for later

Figures Combined(const Figures& first, const Figures& second,
                 const long& (*choose)(const long&, const long&)) {
    return {choose(first.resident, second.resident), choose(first.heap, second.heap),
            choose(first.mappings, second.mappings), choose(first.descriptors, second.descriptors),
            choose(first.threads, second.threads),   choose(first.zombies, second.zombies)};
}

} // namespace

void Verdict::Compare(const char* what, long now, long before, long bound) {
    if (now <= before + bound)
        return;
    fprintf(stderr, "soak: %s: %s grew from %ld to %ld, beyond the bound of %ld\n", process_, what, before,
            now, bound);
    grown_ = true;
}

void Verdict::CompareMemory() {
    if (recent_.size() < kRoundsForMemory)
        return;
    Figures lowest = recent_.front();
    for (const Figures& figures : recent_)
        lowest = Combined(lowest, figures, std::min<long>);
    if (resident_bound_ > 0)
        Compare("resident memory (KB)", lowest.resident, highest_.resident, resident_bound_);
    Compare("heap in use (KB)", lowest.heap, highest_.heap, kHeapBound);
    Compare("number of mappings", lowest.mappings, highest_.mappings, kMappingsBound);
    recent_.pop_front();
}

void Verdict::Add(const Figures& figures) {
    if (warm_up_ > 0) {
        --warm_up_;
        highest_ = Combined(highest_, figures, std::max<long>);
        return;
    }
    recent_.push_back(figures);
    CompareMemory();
    Compare("number of open descriptors", figures.descriptors, highest_.descriptors, 0);
    Compare("number of threads", figures.threads, highest_.threads, 0);
    Compare("number of uncollected children", figures.zombies, 0, 0);
}
