#include "worker.h"

#include "log.h"

namespace {
const DWORD kStackSize = 256 * 1024;
}

Worker::Worker(ScanJob& job, DWORD number) : job_(job), number_(number) {}

bool Worker::Start(const std::string& catalogue) {
    if (!catalogue_.Read(catalogue))
        return false;
    thread_ = CreateThread(nullptr, kStackSize, ThreadMain, this, 0, nullptr);
    return thread_ != nullptr;
}

void Worker::Join() {
    WaitForSingleObject(thread_, INFINITE);
    CloseHandle(thread_);
}

DWORD WINAPI Worker::ThreadMain(LPVOID worker) {
    static_cast<Worker*>(worker)->Run();
    return 0;
}

void Worker::Run() {
    unsigned long codes = 0;
    std::string code;
    while (job_.queue.Take(code)) {
        Look(code);
        ++codes;
    }
    Log(L"worker %lu: %lu codes", static_cast<unsigned long>(number_), codes);
}

void Worker::Look(const std::string& code) {
    Article article;
    const DWORD result = job_.rule.Check(code);
    if (result == CODE_GOOD && catalogue_.Find(code, article)) {
        tally_.AddArticle(code, article);
        return;
    }
    if (result == CODE_GOOD)
        tally_.AddUnknown(code);
    else
        tally_.AddBad(code, result);
    CountError();
}

// The one error that is too many gives the run up; those after it, of other workers, find that done.
void Worker::CountError() {
    const DWORD errors = static_cast<DWORD>(InterlockedIncrement(&job_.errors));
    if (job_.errorLimit == 0 || errors != job_.errorLimit + 1)
        return;
    Log(L"stopped: more than %lu unknown or bad codes", static_cast<unsigned long>(job_.errorLimit));
    job_.queue.Stop();
}
