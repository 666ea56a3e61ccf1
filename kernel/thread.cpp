// Threads: creation, end, exit code, priority.
#include "kernel/thread.h"

#include "kernel/cancellation_point.h"
#include "kernel/guard.h"
#include "kernel/sync_object.h"
#include <errno.h>
#include <kalto/core.h>
#include <sched.h>
#include <unistd.h>

namespace kalto {

namespace {

constexpr size_t kSmallestStack = 0x10000;
constexpr unsigned kResumePause = 5; // seconds

struct ThreadArguments {
    LPTHREAD_START_ROUTINE start;
    LPVOID parameter;
};

void init_thread(HandleRecord* record, void* argument) {
    auto& thread = *reinterpret_cast<SyncRecord*>(record);
    const auto& arguments = *static_cast<const ThreadArguments*>(argument);
    init_sync(thread);
    pthread_mutex_init(&thread.start_mutex, nullptr);
    pthread_cond_init(&thread.start_condition, nullptr);
    thread.manual_reset = 1;
    thread.u.thread.start = arguments.start;
    thread.u.thread.word = reinterpret_cast<ULONG_PTR>(arguments.parameter);
}

SyncRecord* thread_of(HANDLE handle) {
    SyncRecord* const object = sync_record_of(handle);
    return object != nullptr && object->head.type == HT_THREAD ? object : nullptr;
}

// The attributes of a new thread. The scheduling of the creator is inherited, which is the default and what
// lets a process without real-time rights create threads; the policy set here holds where that is not so.
class Attributes {
  public:
    explicit Attributes(DWORD stack_size) {
        pthread_attr_init(&attributes_);
        pthread_getschedparam(pthread_self(), &policy_, &parameter_);
        pthread_attr_setschedparam(&attributes_, &parameter_);
        pthread_attr_setschedpolicy(&attributes_, SCHED_FIFO);
        pthread_attr_setstacksize(&attributes_, stack_size < kSmallestStack ? kSmallestStack : stack_size);
    }
    ~Attributes() { pthread_attr_destroy(&attributes_); }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;

    int priority() const { return parameter_.sched_priority; }
    int create(pthread_t& id, void* (*start)(void*), void* argument) {
        int error = pthread_create(&id, &attributes_, start, argument);
        if (error == EPERM) {
            pthread_attr_setschedpolicy(&attributes_, policy_);
            error = pthread_create(&id, &attributes_, start, argument);
        }
        return error;
    }

  private:
    pthread_attr_t attributes_{};
    int policy_ = SCHED_OTHER;
    sched_param parameter_{};
};

// Keeps the record's memory while this thread is inside a call that blocks. Entered holding the guard, which
// is given back.
class Pin {
  public:
    explicit Pin(SyncRecord& thread) : thread_(thread) {
        ++thread_.pins;
        give_back(thread_.guard);
    }
    ~Pin() {
        take(thread_.guard);
        unpin(thread_);
    }
    Pin(const Pin&) = delete;
    Pin& operator=(const Pin&) = delete;

  protected:
    SyncRecord& thread_;
};

// A join in progress. The thread counts as joined meanwhile, and again does not if the join comes to nothing.
class Join : private Pin {
  public:
    explicit Join(SyncRecord& thread) : Pin(announced(thread)) {}
    ~Join() {
        if (!done_) {
            const Guard held(thread_.guard);
            thread_.joined = false;
        }
    }
    bool run(void** result) {
        done_ = blocking_join(thread_.u.thread.id, result) == 0;
        return done_;
    }

  private:
    static SyncRecord& announced(SyncRecord& thread) {
        thread.joined = true;
        return thread;
    }
    bool done_ = false;
};

// Until it is signalled, also while somebody has it terminated and waits for its end. From then on it may
// hold its own reference for a moment more.
bool still_active(SyncRecord& thread) {
    return !thread.closed && thread.state == 0 && InterlockedExchangeAdd(&thread.head.references, 0) >= 2;
}

bool joinable(const SyncRecord& thread) {
    return !thread.closed && !thread.joined && thread.u.thread.id != 0;
}

void store(LPDWORD out, DWORD value) {
    if (out != nullptr)
        *out = value;
}

} // namespace

void wait_until_resumed(void* record) {
    auto& thread = *static_cast<SyncRecord*>(record);
    struct Lock {
        pthread_mutex_t& mutex;
        ~Lock() { pthread_mutex_unlock(&mutex); } // also when the thread is terminated in the wait
    } const held{thread.start_mutex};
    pthread_mutex_lock(&held.mutex);
    while (!thread.resumed)
        blocking_wait(thread.start_condition, held.mutex);
}

void run_start_routine(void* record) {
    auto& thread = *static_cast<SyncRecord*>(record);
    auto& fields = thread.u.thread;
    const DWORD result = fields.start(reinterpret_cast<LPVOID>(fields.word));
    const Guard held(thread.guard);
    fields.word = result;
}

void thread_finished(void* record) {
    auto& thread = *static_cast<SyncRecord*>(record);
    {
        WakeList woken;
        const Guard held(thread.guard);
        set_state(thread, woken);
    }
    release_reference(&thread.head);
}

} // namespace kalto

HANDLE CreateThread(LPSECURITY_ATTRIBUTES lpThreadAttributes, DWORD dwStackSize,
                    LPTHREAD_START_ROUTINE lpStartAddress, LPVOID lpParameter, DWORD dwCreationFlags,
                    LPDWORD lpThreadId) {
    UNREFERENCED_PARAMETER(lpThreadAttributes);
    kalto::ThreadArguments arguments{lpStartAddress, lpParameter};
    kalto::HandleRecord* record = nullptr;
    kalto::create_record(HT_THREAD, nullptr, kalto::init_thread, &arguments, &record);
    if (record == nullptr)
        return nullptr;
    auto& thread = *reinterpret_cast<kalto::SyncRecord*>(record);
    kalto::Attributes attributes(dwStackSize);
    InterlockedIncrement(&record->references); // the thread's own
    const bool suspended = (dwCreationFlags & CREATE_SUSPENDED) != 0;
    if (attributes.create(thread.u.thread.id, suspended ? kalto::start_suspended_thread : kalto::start_thread,
                          record) != 0) {
        thread.u.thread.id = 0;
        InterlockedDecrement(&record->references);
        CloseHandle(record);
        return nullptr;
    }
    if (lpThreadId != nullptr) {
        *lpThreadId = static_cast<DWORD>(thread.u.thread.id);
        // Deliberate: the priority is applied only to a thread whose id was asked for; that is how
        // applications choose which threads become real-time threads.
        SetThreadPriority(record, attributes.priority());
    }
    return record;
}

DWORD ResumeThread(HANDLE hThread) {
    kalto::SyncRecord* const thread = kalto::thread_of(hThread);
    if (thread == nullptr)
        return 0xFFFFFFFFu;
    kalto::take(thread->guard);
    const kalto::Pin inside(*thread);
    // Deliberate: the pause is part of the call; applications count on the time that it gives the new thread.
    for (unsigned left = kalto::kResumePause; left != 0;)
        left = sleep(left);
    pthread_mutex_lock(&thread->start_mutex);
    thread->resumed = true;
    pthread_cond_signal(&thread->start_condition);
    pthread_mutex_unlock(&thread->start_mutex);
    return 0;
}

void ExitThread(DWORD dwExitCode) {
    pthread_exit(reinterpret_cast<void*>(static_cast<ULONG_PTR>(dwExitCode)));
}

BOOL TerminateThread(HANDLE hThread, DWORD dwExitCode) {
    UNREFERENCED_PARAMETER(dwExitCode);
    kalto::SyncRecord* const thread = kalto::thread_of(hThread);
    if (thread == nullptr)
        return FALSE;
    const pthread_t id = thread->u.thread.id;
    kalto::take(thread->guard);
    if (!kalto::joinable(*thread) || pthread_cancel(id) != 0) {
        kalto::give_back(thread->guard);
        return FALSE;
    }
    if (pthread_equal(id, pthread_self())) {
        kalto::give_back(thread->guard);
        pthread_testcancel(); // does not return, unless the thread has switched termination off
        return TRUE;
    }
    kalto::Join join(*thread);
    join.run(nullptr);
    return TRUE;
}

BOOL GetExitCodeThread(HANDLE hThread, LPDWORD lpExitCode) {
    kalto::SyncRecord* const thread = kalto::thread_of(hThread);
    if (thread == nullptr)
        return FALSE;
    kalto::take(thread->guard);
    if (kalto::still_active(*thread)) {
        kalto::give_back(thread->guard);
        kalto::store(lpExitCode, STILL_ACTIVE);
        return TRUE;
    }
    if (!kalto::joinable(*thread)) {
        kalto::give_back(thread->guard);
        return FALSE;
    }
    kalto::Join join(*thread);
    void* result = nullptr;
    if (!join.run(&result))
        return FALSE;
    kalto::store(lpExitCode, static_cast<DWORD>(reinterpret_cast<ULONG_PTR>(result)));
    return TRUE;
}

int GetThreadPriority(HANDLE hThread) {
    kalto::SyncRecord* const thread = kalto::thread_of(hThread);
    if (thread == nullptr)
        return THREAD_PRIORITY_ERROR_RETURN;
    const kalto::Guard held(thread->guard);
    int policy = 0;
    sched_param parameter{};
    if (!kalto::joinable(*thread) || pthread_getschedparam(thread->u.thread.id, &policy, &parameter) != 0)
        return THREAD_PRIORITY_ERROR_RETURN;
    return parameter.sched_priority;
}

BOOL SetThreadPriority(HANDLE hThread, int nPriority) {
    kalto::SyncRecord* const thread = kalto::thread_of(hThread);
    if (thread == nullptr)
        return FALSE;
    const kalto::Guard held(thread->guard);
    int policy = 0;
    sched_param parameter{};
    if (kalto::joinable(*thread) && pthread_getschedparam(thread->u.thread.id, &policy, &parameter) == 0) {
        parameter.sched_priority = nPriority;
        // Deliberate: success is reported although an unprivileged process may not do this.
        pthread_setschedparam(thread->u.thread.id, SCHED_FIFO, &parameter);
    }
    return TRUE;
}

HANDLE GetCurrentThread(void) {
    return nullptr;
}

DWORD GetCurrentThreadId(void) {
    return static_cast<DWORD>(pthread_self());
}
