// Whether the figures of a process grow. The rounds of the warm-up say how high each figure goes. From then
// on descriptors, threads and uncollected children may not go any higher at all. What memory holds at one
// moment depends on chance (caches of the C library, texts that the registry has not dropped yet), so for it
// the lowest of several rounds counts: that one rises only with what is lost for good.
#ifndef KALTO_SOAK_VERDICT_H
#define KALTO_SOAK_VERDICT_H

#include "figures.h"
#include <deque>

class Verdict {
  public:
    // resident_bound: KB that the resident memory may grow; 0 for any amount.
    Verdict(const char* process, unsigned warm_up_rounds, long resident_bound)
        : process_(process), warm_up_(warm_up_rounds), resident_bound_(resident_bound) {}

    // Looks at the figures after a round, and says on standard error what has grown beyond its bound.
    void Add(const Figures& figures);
    bool Grown() const { return grown_; }

  private:
    void CompareMemory();
    void Compare(const char* what, long now, long before, long bound);

    const char* const process_;
    unsigned warm_up_;
    const long resident_bound_;
    Figures highest_ = {};       // of the warm-up
    std::deque<Figures> recent_; // the last rounds behind it
    bool grown_ = false;
};

#endif
