// pipeline WORKERS FILE: the most frequent words of a text, counted by several threads.
//
// The main thread reads the file and hands its lines through a bounded queue to the workers: one semaphore
// counts the free places, another the lines, and a mutex guards the queue itself. A manual-reset event stops
// the workers. The output does not depend on their number. Exit status: 0, 1 for an unreadable file, 2 for
// wrong arguments, 3 when something could not be created.
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <deque>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace {

const LONG kPlaces = 32;
const DWORD kPieceSize = 64 * 1024;
const size_t kWordsShown = 10;
const long kMostWorkers = 64;

typedef std::map<std::string, unsigned long> Counts;

struct Pipeline {
    HANDLE freePlaces = CreateSemaphore(nullptr, kPlaces, kPlaces, nullptr);
    HANDLE lines = CreateSemaphore(nullptr, 0, kPlaces, nullptr);
    HANDLE mutex = CreateMutex(nullptr, FALSE, nullptr);
    HANDLE stop = CreateEvent(nullptr, TRUE, FALSE, nullptr);
    std::deque<std::string> queue; // guarded by mutex
    Counts total;                  // guarded by mutex

    Pipeline() = default;
    ~Pipeline() {
        for (HANDLE handle : {freePlaces, lines, mutex, stop})
            CloseHandle(handle);
    }
    Pipeline(const Pipeline&) = delete;
    Pipeline& operator=(const Pipeline&) = delete;
    bool Complete() const { return freePlaces && lines && mutex && stop; }
};

void Put(Pipeline& pipeline, std::string line) {
    WaitForSingleObject(pipeline.freePlaces, INFINITE);
    WaitForSingleObject(pipeline.mutex, INFINITE);
    pipeline.queue.push_back(std::move(line));
    ReleaseMutex(pipeline.mutex);
    ReleaseSemaphore(pipeline.lines, 1, nullptr);
}

std::string Take(Pipeline& pipeline) {
    WaitForSingleObject(pipeline.mutex, INFINITE);
    std::string line = std::move(pipeline.queue.front());
    pipeline.queue.pop_front();
    ReleaseMutex(pipeline.mutex);
    ReleaseSemaphore(pipeline.freePlaces, 1, nullptr);
    return line;
}

void CountWords(const std::string& line, Counts& counts) {
    std::string word;
    for (char c : line + ' ') {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
        if (c >= 'a' && c <= 'z') {
            word += c;
        } else if (!word.empty()) {
            ++counts[word];
            word.clear();
        }
    }
}

DWORD WINAPI Work(LPVOID parameter) {
    Pipeline& pipeline = *static_cast<Pipeline*>(parameter);
    // The highest signalled index is reported: there is no stopping while there are lines left.
    const HANDLE stopOrLine[] = {pipeline.stop, pipeline.lines};
    Counts counts;
    while (WaitForMultipleObjects(2, stopOrLine, FALSE, INFINITE) == WAIT_OBJECT_0 + 1)
        CountWords(Take(pipeline), counts);
    // The last line may have come between the looks at the two: at the end the queue is looked at once more.
    while (WaitForSingleObject(pipeline.lines, 0) == WAIT_OBJECT_0)
        CountWords(Take(pipeline), counts);

    WaitForSingleObject(pipeline.mutex, INFINITE);
    for (const auto& entry : counts)
        pipeline.total[entry.first] += entry.second;
    ReleaseMutex(pipeline.mutex);
    return 0;
}

// Puts the lines of the file into the queue; false when the file could not be read to its end.
bool PutLines(Pipeline& pipeline, LPCWSTR name) {
    HANDLE file = CreateFile(name, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    std::vector<char> piece(kPieceSize);
    std::string line;
    DWORD read = 0;
    BOOL succeeded;
    while ((succeeded = ReadFile(file, piece.data(), kPieceSize, &read, nullptr)) && read != 0) {
        for (DWORD i = 0; i < read; ++i) {
            if (piece[i] != '\n') {
                line += piece[i];
                continue;
            }
            Put(pipeline, std::move(line));
            line.clear();
        }
    }
    Put(pipeline, std::move(line));
    const DWORD error = GetLastError();
    CloseHandle(file);
    SetLastError(error);
    return succeeded != FALSE;
}

std::vector<HANDLE> StartWorkers(Pipeline& pipeline, long count) {
    std::vector<HANDLE> workers;
    for (long i = 0; i < count; ++i) {
        HANDLE worker = CreateThread(nullptr, 256 * 1024, Work, &pipeline, 0, nullptr);
        if (worker == nullptr)
            break;
        workers.push_back(worker);
    }
    return workers;
}

void StopWorkers(Pipeline& pipeline, const std::vector<HANDLE>& workers) {
    SetEvent(pipeline.stop);
    for (HANDLE worker : workers) { // one after the other: that is how to wait for all of several threads
        WaitForSingleObject(worker, INFINITE);
        CloseHandle(worker);
    }
}

void PrintMostFrequent(const Counts& counts) {
    std::vector<std::pair<std::string, unsigned long>> words(counts.begin(), counts.end());
    std::stable_sort(words.begin(), words.end(),
                     [](const auto& a, const auto& b) { return a.second > b.second; });
    for (size_t i = 0; i < words.size() && i < kWordsShown; ++i)
        std::printf("%7lu %s\n", words[i].second, words[i].first.c_str());
}

int Run(long count, LPCWSTR name) {
    Pipeline pipeline;
    if (!pipeline.Complete())
        return 3;
    const std::vector<HANDLE> workers = StartWorkers(pipeline, count);
    const bool started = workers.size() == static_cast<size_t>(count);
    const bool read = started && PutLines(pipeline, name);
    const DWORD error = GetLastError();
    StopWorkers(pipeline, workers);
    if (!started)
        return 3;
    if (!read) {
        std::fprintf(stderr, "pipeline: %ls: error %lu\n", name, static_cast<unsigned long>(error));
        return 1;
    }
    PrintMostFrequent(pipeline.total);
    return 0;
}

} // namespace

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPWSTR lpCmdLine, int) {
    wchar_t* name = nullptr;
    const long workers = std::wcstol(lpCmdLine, &name, 10);
    if (workers < 1 || workers > kMostWorkers || *name != L' ' || name[1] == L'\0') {
        std::fprintf(stderr, "usage: pipeline WORKERS FILE, with 1 to %ld workers\n", kMostWorkers);
        return 2;
    }
    return Run(workers, name + 1);
}
