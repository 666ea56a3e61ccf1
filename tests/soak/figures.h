// What a process has in use, as the system and the C library tell, and whether it grows.
#ifndef KALTO_SOAK_FIGURES_H
#define KALTO_SOAK_FIGURES_H

#include <array>
#include <vector>

enum Figure { kResident, kHeap, kMappings, kDescriptors, kThreads, kFigures };
using Figures = std::array<long, kFigures>;

// Takes them when the threads that were left to themselves have ended, at most ten seconds later.
Figures TakeFigures();

// Whether the figures after the last round have grown; says what on standard error. The rounds of the warm-up
// say how high each figure goes. From then on descriptors and threads may not go any higher at all. What
// memory holds at one moment depends on chance (caches of the C library, texts that the registry has not
// dropped yet), so for it the lowest of several rounds counts: that one rises only with what is lost for
// good. resident_bound: KB that the resident memory may grow; 0 for any amount.
bool Grown(const char* process, const std::vector<Figures>& rounds, long resident_bound);

#endif
