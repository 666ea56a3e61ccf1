// The records behind the handles. A handle is its record's address; every record begins with a HandleRecord
// head. The fields up to the marked line of each record are the interface that host hooks and applications of
// the device know; what follows is private to this library.
#ifndef KALTO_KERNEL_HANDLE_RECORD_H
#define KALTO_KERNEL_HANDLE_RECORD_H

#include <dirent.h>
#include <kalto/kernel.h>
#include <pthread.h>
#include <semaphore.h>
#include <stddef.h>
#include <sys/types.h>

namespace kalto {

struct NamedObjectEntry;
struct SingleWaiter;
struct GroupEntry;

struct HandleRecord {
    DWORD type;      // constant from creation on, but for a tombstone (kTombstone)
    LONG references; // changed and read through the interlocked operations
};

// The type of a record without waiters that was released while other openers of its name had yet to close it.
constexpr DWORD kTombstone = 0x544F4D42;

struct FileRecord {
    HandleRecord head;
    int descriptor;  // -1: none
    void* buffer;    // malloc'ed, may be null; freed on close
    void* auxiliary; // malloc'ed, may be null; freed on close. A file's path, narrow, when the host keeps it
    // private
    NamedObjectEntry* name;
    size_t buffer_size; // of a mapping
};

struct FindRecord {
    HandleRecord head;
    DIR* stream;  // may be null
    char* path;   // malloc'ed, may be null; freed on close
    char* second; // likewise; the name pattern of a search
    // private
    NamedObjectEntry* name;
    DWORD saved_stamp[2];   // of a change notification
    DWORD current_stamp[2]; // likewise
};

struct ModuleRecord {
    HandleRecord head;
    void* module; // what dlopen returned; stays loaded on close
    // private
    NamedObjectEntry* name;
};

struct ProcessRecord {
    HandleRecord head;
    pid_t pid;
    // private
    LONG reaped; // nonzero once waitpid has collected the child; through the interlocked operations
    NamedObjectEntry* name;
};

// Events, mutexes, semaphores and threads: one layout, so that one wait serves them all. Every field but
// those of the head is guarded by the guard semaphore unless it says otherwise.
struct SyncRecord {
    HandleRecord head;
    sem_t guard;        // initial value 1: the object's lock
    sem_t signal;       // initial value 1; not posted: blocked threads are woken one by one, see waiter.h
    GroupEntry* link;   // one entry for each WaitForMultipleObjects in progress on this object, oldest first
    DWORD state;        // nonzero: signalled. Mutexes and semaphores: recomputed from the count by each wait
    DWORD manual_reset; // what a consuming wait leaves in state
    union Specific {
        struct Counted { // mutex, semaphore
            LONG count;
            LONG maximum;
            pthread_t owner; // mutex: 0 when free
        } counted;
        struct Thread {
            pthread_t id; // 0 until created; set before the thread starts
            LPTHREAD_START_ROUTINE start;
            ULONG_PTR word; // the parameter until the routine returns, then its result
        } thread;
    } u;
    // private
    NamedObjectEntry* name;
    SingleWaiter* first_waiter; // blocked threads, first come first served
    SingleWaiter* last_waiter;
    LONG group_waits; // the waits in progress in the chain; changed together with head.references
    DWORD pins;       // threads inside the library that still need the record's memory
    bool ready;       // constant: made by one of the Create calls, not by a bare create_handle
    bool closed;      // released: every call refuses it
    bool doomed;      // nobody is left to close it: the last pin frees it
    bool joined;      // thread: somebody has joined it or is joining it
    bool resumed;     // thread: guarded by start_mutex
    void* owned;      // thread: malloc'ed, may be null; freed with the record
    pthread_mutex_t start_mutex;
    pthread_cond_t start_condition;
};

// The record behind a handle, or null when the handle is null, INVALID_HANDLE_VALUE or not of that type.
// Reads nothing but the head.
inline HandleRecord* record_of(HANDLE handle) {
    return handle == INVALID_HANDLE_VALUE ? nullptr : static_cast<HandleRecord*>(handle);
}
FileRecord* file_record_of(HANDLE handle);
FindRecord* find_record_of(HANDLE handle);
ModuleRecord* module_record_of(HANDLE handle);
ProcessRecord* process_record_of(HANDLE handle);

// A record may become a tombstone while another opener of its name looks at it.
inline DWORD type_of(const HandleRecord* record) {
    return __atomic_load_n(&record->type, __ATOMIC_RELAXED);
}

inline bool is_sync_type(DWORD type) {
    return type - HT_EVENT <= HT_THREAD - HT_EVENT;
}

// Likewise for HT_EVENT, HT_MUTEX, HT_SEMAPHORE and HT_THREAD; null also for a record that is not ready.
inline SyncRecord* sync_record_of(HANDLE handle) {
    HandleRecord* const record = record_of(handle);
    if (record == nullptr || !is_sync_type(type_of(record)))
        return nullptr;
    auto* const object = reinterpret_cast<SyncRecord*>(record);
    return object->ready ? object : nullptr;
}

// create_handle for callers inside the library: initialise (may be null) completes a new record before
// anybody else can find it by name. True for a new record; false when a named object was found or memory is
// out (then *out is null).
using Initialise = void (*)(HandleRecord* record, void* argument);
bool create_record(DWORD type, LPCWSTR name, Initialise initialise, void* argument, HandleRecord** out);

// Takes back one reference, and with it the place among the object's wait groups if of_wait is set; releases
// the object when it was the last one. Not a cancellation point except for waiting for a running child.
void release_reference(HandleRecord* record, bool of_wait = false);

} // namespace kalto

#endif
