// What a process has in use, as the system and the C library tell, and whether it grows.
#ifndef KALTO_SOAK_FIGURES_H
#define KALTO_SOAK_FIGURES_H

#include <array>
#include <vector>

enum Figure { kResident, kHeap, kMappings, kDescriptors, kThreads, kFigures };
using Figures = std::array<long, kFigures>;

// Takes them when the threads that were left to themselves have ended, at most ten seconds later.
Figures TakeFigures();

// The rounds of the warm-up say how high each figure goes. From then on descriptors and threads may not go
// any higher at all. What memory holds at one moment depends on chance (caches of the C library, texts that
// the registry has not dropped yet), so for it the lowest of several rounds counts: that one rises only with
// what is lost for good.
class Verdict {
  public:
    // resident_bound: KB that the resident memory may grow; 0 for any amount.
    Verdict(const char* process, long resident_bound) : process_(process), resident_bound_(resident_bound) {}

    // Whether the figures after a round, or those before it, have grown; says what on standard error.
    bool Grown(const Figures& figures);

  private:
    const char* const process_;
    const long resident_bound_;
    std::vector<Figures> rounds_;
};

#endif
