// What a process has in use, as the system and the C library tell.
#ifndef KALTO_SOAK_FIGURES_H
#define KALTO_SOAK_FIGURES_H

struct Figures {
    long resident;    // KB of memory
    long heap;        // KB in blocks that were not freed
    long mappings;    // of memory: stacks, modules, parts of the heap
    long descriptors; // open
    long threads;
    long zombies; // 1 when there is a child that has ended and was not collected
};

// Takes them when the threads that were left to themselves have ended, at most ten seconds later.
Figures TakeFigures();

#endif
