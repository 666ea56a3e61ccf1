// The bounded queue between the producer and the workers: one semaphore counts the free places, another the
// codes, a critical section guards the codes themselves, and two manual-reset events say that no more will
// come and that the run is given up.
#ifndef STOCKSCAN_SCAN_QUEUE_H
#define STOCKSCAN_SCAN_QUEUE_H

#include <deque>
#include <string>
#include <windows.h>

class ScanQueue {
  public:
    explicit ScanQueue(DWORD places);
    ~ScanQueue();
    ScanQueue(const ScanQueue&) = delete;
    ScanQueue& operator=(const ScanQueue&) = delete;

    // Whether all objects could be made; a queue without one of them is of no use.
    bool Complete() const;

    // Puts a code in, waiting for a free place; false when the run is given up.
    bool Put(const std::string& code);
    // Takes the oldest code out, waiting for one; false when the run is given up, or has ended and the queue
    // is empty.
    bool Take(std::string& code);

    // Says that no more codes will be put in; called by the one that puts them.
    void End();
    // Gives the run up: nobody waits any longer.
    void Stop();
    bool Stopped() const;

  private:
    HANDLE free_;
    HANDLE filled_;
    HANDLE ended_;
    HANDLE stop_;
    CRITICAL_SECTION guard_;
    std::deque<std::string> codes_; // guarded by guard_
};

#endif
