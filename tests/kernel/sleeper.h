// A thread that a test sends into a blocking call.
#ifndef KALTO_TESTS_KERNEL_SLEEPER_H
#define KALTO_TESTS_KERNEL_SLEEPER_H

#include <atomic>
#include <fstream>
#include <functional>
#include <kalto/core.h>
#include <kalto/kernel.h>
#include <signal.h>
#include <string>
#include <sys/syscall.h>
#include <unistd.h>

namespace kalto_test {

class Sleeper {
  public:
    explicit Sleeper(std::function<DWORD()> call) : call_(std::move(call)) {
        pthread_create(
            &thread_, nullptr,
            [](void* self) -> void* {
                auto* const me = static_cast<Sleeper*>(self);
                me->id_ = static_cast<long>(syscall(SYS_gettid));
                me->result_ = me->call_();
                me->returned_ = true;
                return nullptr;
            },
            this);
    }
    ~Sleeper() { join(); }
    Sleeper(const Sleeper&) = delete;
    Sleeper& operator=(const Sleeper&) = delete;

    // Returns once the thread sleeps in the kernel (or has returned).
    Sleeper& until_asleep() {
        while (!returned_ && !asleep())
            usleep(500);
        return *this;
    }
    bool returned() const { return returned_; }
    pthread_t thread() const { return thread_; }
    DWORD result() {
        join();
        return result_;
    }
    // True when the thread was terminated, false when it returned first.
    bool terminate() {
        pthread_cancel(thread_);
        join();
        return !returned_;
    }

  private:
    bool asleep() const {
        if (id_ == 0)
            return false;
        std::ifstream status("/proc/self/task/" + std::to_string(id_) + "/stat");
        std::string text;
        std::getline(status, text);
        const auto name_end = text.rfind(')');
        return name_end != std::string::npos && text.compare(name_end, 3, ") S") == 0;
    }
    void join() {
        if (!joined_)
            pthread_join(thread_, nullptr);
        joined_ = true;
    }

    std::function<DWORD()> call_;
    pthread_t thread_{};
    std::atomic<long> id_{0};
    std::atomic<bool> returned_{false};
    DWORD result_ = 0;
    bool joined_ = false;
};

// Makes a signal interrupt what it reaches, after the library has installed its own handlers.
inline void make_interrupting(int signal) {
    InstallSignalHandlers();
    struct sigaction interrupt {};
    interrupt.sa_handler = [](int) {}; // without SA_RESTART
    sigaction(signal, &interrupt, nullptr);
}

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

} // namespace kalto_test

#endif
