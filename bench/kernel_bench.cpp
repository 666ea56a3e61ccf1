// Kernel objects beside their peers from the C and C++ runtime, in one program: compare within one run. The
// two-thread cases are meaningful when the program is bound to one processor (taskset -c 0).
#include <benchmark/benchmark.h>
#include <condition_variable>
#include <kalto/kernel.h>
#include <mutex>
#include <thread>
#include <vector>

namespace {

// The auto-reset event that a C++ programmer would write.
class PlainEvent {
  public:
    void set() {
        const std::lock_guard<std::mutex> held(mutex_);
        set_ = true;
        condition_.notify_one();
    }
    void wait() {
        std::unique_lock<std::mutex> held(mutex_);
        condition_.wait(held, [this] { return set_; });
        set_ = false;
    }

  private:
    std::mutex mutex_;
    std::condition_variable condition_;
    bool set_ = false;
};

class KaltoEvent {
  public:
    KaltoEvent() : handle_(CreateEvent(nullptr, FALSE, FALSE, nullptr)) {}
    ~KaltoEvent() { CloseHandle(handle_); }
    KaltoEvent(const KaltoEvent&) = delete;
    KaltoEvent& operator=(const KaltoEvent&) = delete;
    void set() { SetEvent(handle_); }
    void wait() { WaitForSingleObject(handle_, INFINITE); }

  private:
    HANDLE handle_;
};

class PosixSemaphore {
  public:
    PosixSemaphore() { sem_init(&semaphore_, 0, 0); }
    ~PosixSemaphore() { sem_destroy(&semaphore_); }
    PosixSemaphore(const PosixSemaphore&) = delete;
    PosixSemaphore& operator=(const PosixSemaphore&) = delete;
    void set() { sem_post(&semaphore_); }
    void wait() { sem_wait(&semaphore_); }

  private:
    sem_t semaphore_{};
};

template <typename Event> void set_and_wait(benchmark::State& state) {
    Event event;
    for (auto _ : state) {
        event.set();
        event.wait();
    }
}

template <typename Event> void ping_pong(benchmark::State& state) {
    Event ping;
    Event pong;
    bool more = true;
    std::thread partner([&] {
        for (;;) {
            ping.wait();
            if (!more)
                return;
            pong.set();
        }
    });
    for (auto _ : state) {
        ping.set();
        pong.wait();
    }
    more = false;
    ping.set();
    partner.join();
}

class KaltoSection {
  public:
    KaltoSection() { InitializeCriticalSection(&section_); }
    void lock() { EnterCriticalSection(&section_); }
    void unlock() { LeaveCriticalSection(&section_); }

  private:
    CRITICAL_SECTION section_{};
};

class SemaphoreLock {
  public:
    SemaphoreLock() { sem_init(&semaphore_, 0, 1); }
    void lock() { sem_wait(&semaphore_); }
    void unlock() { sem_post(&semaphore_); }

  private:
    sem_t semaphore_{};
};

template <typename Lock> void enter_and_leave(benchmark::State& state) {
    static Lock lock;
    static long guarded = 0;
    for (auto _ : state) {
        lock.lock();
        ++guarded;
        lock.unlock();
    }
    benchmark::DoNotOptimize(guarded);
}

std::vector<HANDLE> events(long count) {
    std::vector<HANDLE> handles;
    for (long i = 0; i < count; ++i)
        handles.push_back(CreateEvent(nullptr, TRUE, FALSE, nullptr));
    return handles;
}

// signalled_from_the_end: 0 is the first one scanned; -1: none, with time-out 0.
void wait_for_any(benchmark::State& state, long signalled_from_the_end) {
    const std::vector<HANDLE> handles = events(state.range(0));
    if (signalled_from_the_end >= 0)
        SetEvent(handles[handles.size() - 1 - static_cast<size_t>(signalled_from_the_end)]);
    for (auto _ : state)
        benchmark::DoNotOptimize(
            WaitForMultipleObjects(static_cast<DWORD>(handles.size()), handles.data(), FALSE, 0));
    for (const HANDLE handle : handles)
        CloseHandle(handle);
}

void any_first_scanned(benchmark::State& state) {
    wait_for_any(state, 0);
}

void any_last_scanned(benchmark::State& state) {
    wait_for_any(state, state.range(0) - 1);
}

void any_none(benchmark::State& state) {
    wait_for_any(state, -1);
}

void single_wait(benchmark::State& state) {
    const HANDLE handle = CreateEvent(nullptr, TRUE, TRUE, nullptr);
    for (auto _ : state)
        benchmark::DoNotOptimize(WaitForSingleObject(handle, 0));
    CloseHandle(handle);
}

DWORD nothing(LPVOID) {
    return 0;
}

void kalto_thread(benchmark::State& state) {
    for (auto _ : state) {
        const HANDLE thread = CreateThread(nullptr, 0, nothing, nullptr, 0, nullptr);
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);
    }
}

void posix_thread(benchmark::State& state) {
    for (auto _ : state) {
        pthread_t thread{};
        pthread_create(
            &thread, nullptr, [](void*) -> void* { return nullptr; }, nullptr);
        pthread_join(thread, nullptr);
    }
}

void standard_thread(benchmark::State& state) {
    for (auto _ : state)
        std::thread([] {}).join();
}

void create_and_close(benchmark::State& state) {
    for (auto _ : state)
        CloseHandle(CreateEvent(nullptr, FALSE, FALSE, nullptr));
}

} // namespace

BENCHMARK(set_and_wait<KaltoEvent>);
BENCHMARK(set_and_wait<PlainEvent>);
BENCHMARK(set_and_wait<PosixSemaphore>);
BENCHMARK(ping_pong<KaltoEvent>)->UseRealTime();
BENCHMARK(ping_pong<PlainEvent>)->UseRealTime();
BENCHMARK(ping_pong<PosixSemaphore>)->UseRealTime();
BENCHMARK(enter_and_leave<KaltoSection>)->Threads(1)->Threads(2)->Threads(8)->UseRealTime();
BENCHMARK(enter_and_leave<SemaphoreLock>)->Threads(1)->Threads(2)->Threads(8)->UseRealTime();
BENCHMARK(enter_and_leave<std::mutex>)->Threads(1)->Threads(2)->Threads(8)->UseRealTime();
BENCHMARK(single_wait);
BENCHMARK(any_first_scanned)->Arg(2)->Arg(16)->Arg(64);
BENCHMARK(any_last_scanned)->Arg(2)->Arg(16)->Arg(64);
BENCHMARK(any_none)->Arg(2)->Arg(16)->Arg(64);
BENCHMARK(kalto_thread)->UseRealTime();
BENCHMARK(posix_thread)->UseRealTime();
BENCHMARK(standard_thread)->UseRealTime();
BENCHMARK(create_and_close);

// With a second thread from the start, as in any program that uses these: alone, the C library's mutex saves
// its atomic instructions.
int main(int argc, char** argv) {
    PosixSemaphore end;
    std::thread second([&] { end.wait(); });
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    end.set();
    second.join();
}
