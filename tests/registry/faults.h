// System calls that fail, or end the process or the thread, at a chosen number.
#ifndef KALTO_TESTS_REGISTRY_FAULTS_H
#define KALTO_TESTS_REGISTRY_FAULTS_H

#include <string>

enum class Fault {
    none,         // only count
    kill,         // end the process as a power cut would
    cancel,       // ask the calling thread to end at its next cancellation point
    fail,         // fail with `error`
    fail_forever, // ... and so do all later calls that write
    interrupt,    // fail as interrupted by a signal, if it is a call that waits
    half,         // a write stores half of what it was given
};

struct Faults {
    bool armed;
    Fault fault;
    int error;
    int at;             // the number of the call that is hit, from 1
    int count;          // calls so far
    std::string writes; // the names of those that write, a blank behind each
    std::string hit;    // the same up to the one that was hit, if that writes
};
extern Faults g_faults;

// From the next call on.
void inject(Fault fault, int at, int error = 0);
// Back to normal; whether the fault was reached.
bool heal();

#endif
