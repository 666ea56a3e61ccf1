#include "producer.h"

#include "log.h"

namespace {

const DWORD kStackSize = 256 * 1024;
const DWORD kLinesBetweenLooks = 64; // for the stop file
const char kBlanks[] = " \t\r";

std::string Trimmed(const std::string& line) {
    const size_t first = line.find_first_not_of(kBlanks);
    if (first == std::string::npos)
        return std::string();
    return line.substr(first, line.find_last_not_of(kBlanks) - first + 1);
}

} // namespace

Producer::Producer(InputFile& input, ScanQueue& queue, const std::wstring& stopFile)
    : input_(input), queue_(queue), stopFile_(stopFile) {}

bool Producer::Start() {
    thread_ = CreateThread(nullptr, kStackSize, ThreadMain, this, 0, nullptr);
    return thread_ != nullptr;
}

void Producer::Join() {
    WaitForSingleObject(thread_, INFINITE);
    CloseHandle(thread_);
}

DWORD WINAPI Producer::ThreadMain(LPVOID producer) {
    static_cast<Producer*>(producer)->Run();
    return 0;
}

bool Producer::StopAsked() const {
    return GetFileAttributes(stopFile_.c_str()) != INVALID_FILE_ATTRIBUTES;
}

void Producer::Run() {
    std::string line;
    while (input_.ReadLine(line)) {
        if (lines_++ % kLinesBetweenLooks == 0 && StopAsked()) {
            Log(L"stopped by the file %s", stopFile_.c_str());
            queue_.Stop();
            return;
        }
        const std::string code = Trimmed(line);
        if (code.empty())
            ++blankLines_;
        else if (!queue_.Put(code))
            return;
    }
    queue_.End();
}
