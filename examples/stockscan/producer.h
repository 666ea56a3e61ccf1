// The thread that reads the scanned codes and puts them into the queue.
#ifndef STOCKSCAN_PRODUCER_H
#define STOCKSCAN_PRODUCER_H

#include "input_file.h"
#include "scan_queue.h"

class Producer {
  public:
    // Both must live until Join. The run stops when there is a file called stopFile.
    Producer(InputFile& input, ScanQueue& queue, const std::wstring& stopFile);
    Producer(const Producer&) = delete;
    Producer& operator=(const Producer&) = delete;

    bool Start();
    // Waits for the end of the input, or until the run was given up. Call it once, after Start.
    void Join();

    // Results, after Join.
    DWORD Lines() const { return lines_; }
    DWORD BlankLines() const { return blankLines_; }

  private:
    static DWORD WINAPI ThreadMain(LPVOID producer);
    void Run();
    bool StopAsked() const;

    InputFile& input_;
    ScanQueue& queue_;
    const std::wstring stopFile_;
    HANDLE thread_ = nullptr;
    DWORD lines_ = 0;
    DWORD blankLines_ = 0;
};

#endif
