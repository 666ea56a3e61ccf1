// The threads that take codes out of the queue, check them, and look them up.
#ifndef STOCKSCAN_WORKER_H
#define STOCKSCAN_WORKER_H

#include "catalogue.h"
#include "code_rule.h"
#include "scan_queue.h"
#include "tally.h"

// What the workers of a run share.
struct ScanJob {
    ScanQueue& queue;
    const CodeRule& rule;
    DWORD errorLimit;
    LONG volatile errors; // unknown and bad codes so far; interlocked
};

class Worker {
  public:
    // job must live until Join. number is for the log.
    Worker(ScanJob& job, DWORD number);
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    // Gives it a catalogue of its own and lets it begin; false when either fails.
    bool Start(const std::string& catalogue);
    // Waits for the end of the work. Call it once, after Start has succeeded.
    void Join();
    // Its part of the result, after Join.
    const Tally& Result() const { return tally_; }

  private:
    static DWORD WINAPI ThreadMain(LPVOID worker);
    void Run();
    void Look(const std::string& code);
    void CountError();

    ScanJob& job_;
    const DWORD number_;
    Catalogue catalogue_;
    Tally tally_;
    HANDLE thread_ = nullptr;
};

#endif
