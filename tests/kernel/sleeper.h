// What the tests of kernel/ share: a thread that a test sends into a blocking call, and small steps.
#ifndef KALTO_TESTS_KERNEL_SLEEPER_H
#define KALTO_TESTS_KERNEL_SLEEPER_H

#include "kernel/handle_record.h"

#include <atomic>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace kalto_test {

class Sleeper {
  public:
    explicit Sleeper(std::function<DWORD()> call)
        : thread_([this, call] {
              id_ = static_cast<long>(syscall(SYS_gettid));
              result_ = call();
              returned_ = true;
          }) {}
    ~Sleeper() { result(); }

    // Returns once the thread sleeps in the kernel (or has returned).
    Sleeper& until_asleep() {
        while (!returned_ && !asleep())
            usleep(500);
        return *this;
    }
    bool returned() const { return returned_; }
    pthread_t thread() { return thread_.native_handle(); }
    DWORD result() { // 0 for a thread that was terminated
        if (thread_.joinable())
            thread_.join();
        return result_;
    }

  private:
    bool asleep() const {
        std::ifstream status("/proc/self/task/" + std::to_string(id_) + "/status");
        const std::string text{std::istreambuf_iterator<char>(status), {}};
        return text.find("State:\tS") != std::string::npos;
    }

    std::atomic<long> id_{0};
    std::atomic<bool> returned_{false};
    DWORD result_ = 0;
    std::thread thread_; // the last, because it uses the others
};

// A handle that is closed at the end of its scope.
class Handle {
  public:
    explicit Handle(HANDLE handle) : handle_(handle) {}
    ~Handle() { CloseHandle(handle_); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    operator HANDLE() const { return handle_; } // NOLINT: stands in for the handle everywhere

  private:
    HANDLE handle_;
};

inline HANDLE make_event(bool manual, bool set = false) {
    return CreateEvent(nullptr, manual, set, nullptr);
}

inline DWORD poll(HANDLE handle) {
    return WaitForSingleObject(handle, 0);
}

inline DWORD poll_elsewhere(HANDLE handle) { // by another thread
    return Sleeper([=] { return poll(handle); }).result();
}

inline DWORD wait_any(HANDLE handle, DWORD ms) {
    return WaitForMultipleObjects(1, &handle, FALSE, ms);
}

inline LONG references(HANDLE handle) {
    return InterlockedExchangeAdd(static_cast<LONG*>(handle) + 1, 0);
}

// No wait has left anything behind.
inline void expect_untouched(HANDLE handle) {
    EXPECT_EQ(references(handle), 1);
    EXPECT_EQ(kalto::sync_record_of(handle)->link, nullptr);
    EXPECT_EQ(kalto::sync_record_of(handle)->pins, DWORD{0});
}

// Objects that serve one wait for each signal. Made without one they are not signalled for other threads.
const struct Kind {
    const char* what;
    HANDLE (*make)(BOOL signalled);
    BOOL (*signal)(HANDLE);
} kKinds[] = {
    {"event", [](BOOL signalled) { return CreateEvent(nullptr, FALSE, signalled, nullptr); }, SetEvent},
    {"mutex", [](BOOL signalled) { return CreateMutex(nullptr, !signalled, nullptr); }, ReleaseMutex},
    {"semaphore", [](BOOL signalled) { return CreateSemaphore(nullptr, signalled, 2, nullptr); },
     [](HANDLE h) { return ReleaseSemaphore(h, 1, nullptr); }},
};

} // namespace kalto_test

#endif
