// The state of the registry store in this process, shared by its files. All of it is guarded by the registry
// lock.
//
//   1. g_regFd is -1 or the load cycle is open. While it is open a document is loaded.
//   2. g_regLoaded says whether a document is loaded.
//   3. g_regDirty is set while the document holds changes that no save has put into the file. A document with
//   such
//      changes is never dropped.
//   4. g_regDocument changes whenever elements may have ceased to exist; g_regChanges with every change of
//   the tree.
//
// Between calls:          lock free, g_regFd -1, document kept as a cache
// LoadRegistry            opens the cycle: file open, document as new as the file (or kept, when dirty or in
// use) calls with keys open    the cycle stays open, changes gather in memory SaveRegistry            ends
// the cycle: purges, writes if dirty, closes the file
#ifndef KALTO_REGISTRY_STORE_H
#define KALTO_REGISTRY_STORE_H

#include "registry/registry_document.h"
#include <string>
#include <sys/stat.h>

namespace kalto {

constexpr char kRegistryFile[] = "/var/zel/registry.xml";
constexpr char kPendingFile[] = "/var/zel/registry.xml.new";
constexpr char kLockName[] = "zel_registry_lock";
constexpr mode_t kFileMode = 0664;
constexpr int kCompactAfter = 99; // value writes after which compacting the document's strings is considered

extern CRegVurlDOM* g_pVurlDOM;
extern bool g_regLoaded;
extern int g_regFd;
extern bool g_regDirty;
extern bool g_regDeletions; // elements may be marked as deleted
extern int g_regSetCount;   // value writes since the last save or look at the pool
extern unsigned g_regDocument;
extern unsigned g_regChanges;

// The document's strings are as compact as they get now; and: a value was written, which may have left a dead
// string.
void note_compact();
void note_value_write();

// A change of the tree; a change of the tree that leaves marks for the next save to purge.
void note_change();
void note_deletion();

// Whether a file's modification time is later, at the full resolution that the file system gives.
bool is_later(const struct stat& status, const struct stat& than);

// The path of one of the store's files; false when memory runs out.
bool store_path(const char* name, std::string& out);

// stat and fstat, also for files whose inode number does not fit the 32-bit target's struct stat (it is cut
// then); the first dates a file anew whose time does not fit it. False with errno on failure.
bool file_status(const char* path, struct stat& status);
bool file_status(int fd, struct stat& status);

// Opens, retrying when a signal interrupts. -1 with errno on failure.
int open_file(const char* path, int flags);
// Reads up to size bytes into the buffer, all of them unless the file ends first. -1 on failure.
long read_file(int fd, char* buffer, size_t size);
// Writes all of it. False when the disk is full or fails.
bool write_file(int fd, const char* text, size_t size);
// Makes the disk begin with what was written, without waiting for it. False only when it fails.
bool start_writing_back(int fd);
bool sync_file(int fd);

// Owns a descriptor. Closing may cancel the thread, so the destructor must let that pass.
class Descriptor {
  public:
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() noexcept(false) { close(); }
    int get() const { return fd_; }
    int release();
    // 0, or -1 when closing reports that something was not stored.
    int close();

  private:
    int fd_;
};

} // namespace kalto

#endif
