// Making and releasing the records behind the handles.
//
// The life of a record:
//   alive      references >= 1
//   releasing  the last reference is gone (references <= 0); exactly one thread releases the object
//   tombstone  only for a name that was opened more than once: nothing is left but the memory, and references
//              counts the openers that have yet to close their handles
//   freed      at once, or, for objects that threads are still inside of, when the last of them has left
#include "kernel/handle_record.h"

#include "kernel/cancellation_point.h"
#include "kernel/guard.h"
#include "kernel/interlocked.h"
#include "kernel/named_objects.h"
#include "kernel/sync_object.h"
#include <kalto/core.h>
#include <kalto/system.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kalto {

#if UINTPTR_MAX == 0xFFFFFFFFu
// What host hooks and applications of the device were built with.
static_assert(offsetof(HandleRecord, references) == 4 && sizeof(HandleRecord) == 8);
static_assert(offsetof(FileRecord, descriptor) == 8 && offsetof(FileRecord, buffer) == 12 &&
              offsetof(FileRecord, auxiliary) == 16);
static_assert(offsetof(FindRecord, stream) == 8 && offsetof(FindRecord, path) == 12 &&
              offsetof(FindRecord, second) == 16);
static_assert(offsetof(ModuleRecord, module) == 8 && offsetof(ProcessRecord, pid) == 8);
static_assert(sizeof(sem_t) == 16 && offsetof(SyncRecord, guard) == 8 && offsetof(SyncRecord, signal) == 24 &&
              offsetof(SyncRecord, link) == 40 && offsetof(SyncRecord, state) == 44 &&
              offsetof(SyncRecord, manual_reset) == 48 && offsetof(SyncRecord, u) == 52);
static_assert(offsetof(SyncRecord::Specific::Counted, maximum) == 4 &&
              offsetof(SyncRecord::Specific::Counted, owner) == 8 &&
              offsetof(SyncRecord::Specific::Thread, start) == 4 &&
              offsetof(SyncRecord::Specific::Thread, word) == 8);
#endif

static size_t size_of_record(DWORD type) {
    switch (type) {
    case HT_FILE:
        return sizeof(FileRecord);
    case HT_FIND:
        return sizeof(FindRecord);
    case HT_MODULE:
        return sizeof(ModuleRecord);
    case HT_EVENT:
    case HT_MUTEX:
    case HT_SEMAPHORE:
    case HT_THREAD:
        return sizeof(SyncRecord);
    case HT_PROCESS:
        return sizeof(ProcessRecord);
    default:
        return 0;
    }
}

template <typename Record> static Record* as(HandleRecord* record) {
    return reinterpret_cast<Record*>(record);
}

// Where a record keeps its entry in the list of named objects.
static NamedObjectEntry*& name_of(HandleRecord* record) {
    switch (record->type) {
    case HT_FILE:
        return as<FileRecord>(record)->name;
    case HT_FIND:
        return as<FindRecord>(record)->name;
    case HT_MODULE:
        return as<ModuleRecord>(record)->name;
    case HT_PROCESS:
        return as<ProcessRecord>(record)->name;
    default:
        return as<SyncRecord>(record)->name;
    }
}

template <typename Record> static Record* record_of_type(HANDLE handle, DWORD type) {
    HandleRecord* const record = record_of(handle);
    return record != nullptr && type_of(record) == type ? as<Record>(record) : nullptr;
}

FileRecord* file_record_of(HANDLE handle) {
    return record_of_type<FileRecord>(handle, HT_FILE);
}

FindRecord* find_record_of(HANDLE handle) {
    return record_of_type<FindRecord>(handle, HT_FIND);
}

ModuleRecord* module_record_of(HANDLE handle) {
    return record_of_type<ModuleRecord>(handle, HT_MODULE);
}

ProcessRecord* process_record_of(HANDLE handle) {
    return record_of_type<ProcessRecord>(handle, HT_PROCESS);
}

static HandleRecord* make_record(DWORD type) {
    auto* const record = static_cast<HandleRecord*>(calloc(1, size_of_record(type)));
    if (record != nullptr) {
        record->type = type;
        record->references = 1;
    }
    return record;
}

static HandleRecord* make_initialised(DWORD type, Initialise initialise, void* argument) {
    HandleRecord* const record = make_record(type);
    if (record != nullptr && initialise != nullptr)
        initialise(record, argument);
    return record;
}

// The look-up, the creation and the entry in the list are one step, so that two threads that create the same
// name at once get the same object.
static bool create_named(DWORD type, LPCWSTR name, Initialise initialise, void* argument,
                         HandleRecord** out) {
    const NamedObjectsLock held;
    *out = open_named_object(name, type);
    if (*out != nullptr)
        return false;
    HandleRecord* const record = make_initialised(type, initialise, argument);
    if (record == nullptr)
        return true;
    NamedObjectEntry* const entry = make_named_entry(name);
    if (entry == nullptr) {
        LocalFree(record);
        return true;
    }
    name_of(record) = entry;
    publish_named_object(entry, record);
    *out = record;
    return true;
}

bool create_record(DWORD type, LPCWSTR name, Initialise initialise, void* argument, HandleRecord** out) {
    InstallSignalHandlers();
    *out = nullptr;
    if (size_of_record(type) == 0)
        exit(1);
    if (name != nullptr)
        return create_named(type, name, initialise, argument, out);
    *out = make_initialised(type, initialise, argument);
    return true;
}

// The first close ends a named mapping while others that opened it may still ask for its view: they find a
// buffer or none, and none before it is freed.
static void release_file(FileRecord& file) {
    free(file.auxiliary);
    free(__atomic_exchange_n(&file.buffer, nullptr, __ATOMIC_ACQ_REL));
    if (file.descriptor >= 0)
        close(file.descriptor);
    file.auxiliary = nullptr;
    file.descriptor = -1;
}

static void release_find(FindRecord& find) {
    if (find.stream != nullptr)
        closedir(find.stream);
    free(find.path);
    free(find.second);
    find.stream = nullptr;
    find.path = nullptr;
    find.second = nullptr;
}

// What a record of a type without waiters holds, but for the child of a process record.
static void release_contents(HandleRecord* record) {
    const CancellationOff off; // close is a cancellation point, and half of this would be a leak
    if (record->type == HT_FILE)
        release_file(*as<FileRecord>(record));
    else if (record->type == HT_FIND)
        release_find(*as<FindRecord>(record));
}

// A thread that is terminated while it waits here leaves nothing behind: the record is gone already.
static void reap(pid_t child) {
    if (child > 0)
        blocking_wait_for(child, WUNTRACED);
}

// Leaves the openers of a name that have yet to close it a tombstone. False when they all have by now.
static bool leave_tombstone(HandleRecord* record, LONG openers) {
    // They may have been closing since the last reference went, below zero.
    return openers > 0 && InterlockedExchangeAdd(&record->references, openers) + openers != 0;
}

static LONG forget_name(HandleRecord* record) {
    NamedObjectEntry* const entry = name_of(record);
    return entry == nullptr ? 0 : forget_named_object(entry);
}

static void release_sync(SyncRecord& sync) {
    if (retire(sync)) {
        const LONG openers = forget_name(&sync.head);
        if (leave_tombstone(&sync.head, openers))
            return;
    }
    abandon_memory(sync);
}

static void release_plain(HandleRecord* record) {
    pid_t child = 0;
    if (type_of(record) != kTombstone) {
        const LONG openers = forget_name(record);
        release_contents(record);
        if (record->type == HT_PROCESS && InterlockedExchangeAdd(&as<ProcessRecord>(record)->reaped, 0) == 0)
            child = as<ProcessRecord>(record)->pid;
        if (openers > 0)
            __atomic_store_n(&record->type, kTombstone, __ATOMIC_RELAXED);
        if (leave_tombstone(record, openers)) {
            reap(child);
            return;
        }
    }
    LocalFree(record);
    reap(child);
}

void release_reference(HandleRecord* record, bool of_wait) {
    if (SyncRecord* const object = sync_record_of(record)) {
        if (drop_reference(*object, of_wait) == 0)
            release_sync(*object);
    } else if (InterlockedDecrement(&record->references) == 0) {
        release_plain(record);
    }
}

} // namespace kalto

int create_handle(DWORD type, LPCWSTR name, HANDLE* out) {
    kalto::HandleRecord* record = nullptr;
    const bool made = kalto::create_record(type, name, nullptr, nullptr, &record);
    *out = record;
    return made ? 1 : 0;
}

BOOL CloseHandle(HANDLE hObject) {
    kalto::HandleRecord* const record = kalto::record_of(hObject);
    if (record != nullptr)
        kalto::release_reference(record);
    return TRUE;
}
