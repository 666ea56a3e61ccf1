#include "scan.h"

#include "log.h"
#include "producer.h"
#include "worker.h"

#include <memory>
#include <vector>

namespace {

typedef std::vector<std::unique_ptr<Worker>> Workers;

// Starts as many as there shall be; false, with those that did start, when one could not.
bool StartWorkers(ScanJob& job, DWORD count, const std::string& catalogue, Workers& workers) {
    for (DWORD i = 1; i <= count; ++i) {
        std::unique_ptr<Worker> worker(new Worker(job, i));
        if (!worker->Start(catalogue))
            return false;
        workers.push_back(std::move(worker));
    }
    return true;
}

} // namespace

ScanOutcome Scan(const Settings& settings, InputFile& input, const std::string& catalogue,
                 const CodeRule& rule, ScanResult& result) {
    ScanQueue queue(settings.queueLength);
    if (!queue.Complete())
        return ScanOutcome::Failed;
    ScanJob job = {queue, rule, settings.errorLimit, 0};
    Producer producer(input, queue, settings.stopFile);
    Workers workers;
    const bool started = StartWorkers(job, settings.workers, catalogue, workers) && producer.Start();
    if (started)
        producer.Join();
    else
        queue.Stop();
    for (const auto& worker :
         workers) { // one after the other: that is how to wait for all of several threads
        worker->Join();
        result.tally.Add(worker->Result());
    }
    result.lines = producer.Lines();
    result.blankLines = producer.BlankLines();
    if (!started || input.Error() != ERROR_SUCCESS)
        return ScanOutcome::Failed;
    return queue.Stopped() ? ScanOutcome::Stopped : ScanOutcome::Complete;
}
