// Opening a load cycle: the registry file is opened, made if it is missing, and read if it is newer than the
// document in memory. Called with the registry lock held.
#include "registry/open_keys.h"
#include "registry/pending_file.h"
#include "registry/sibling_index.h"
#include "registry/skeleton.h"
#include <cerrno>
#include <fcntl.h>
#include <kalto/errors.h>
#include <kalto/registry.h>
#include <new>
#include <string>
#include <syslog.h>
#include <unistd.h>

namespace kalto {
namespace {

enum class Step { done, again, not_found, failed };

// A missing file costs one round, a pending new file one, a broken file two; more means that the disk cannot
// be trusted to keep what is written.
constexpr int kMostRounds = 8;
constexpr unsigned kParserOutOfMemory = 11;

void drop_document() {
    drop_indices();
    ++g_regDocument;
    ++g_regChanges;
    g_regDeletions = false;
    g_regLoaded = false;
    if (g_pVurlDOM != nullptr)
        g_pVurlDOM->FreeDOM(false);
    delete g_pVurlDOM;
    g_pVurlDOM = nullptr;
}

// Makes the file with the skeleton. Only where there is none: a file that is there but cannot be opened must
// not be overwritten.
Step create_skeleton(const char* path) {
    Descriptor file(errno == ENOENT ? open_file(path, O_WRONLY | O_CREAT) : -1);
    if (file.get() == -1) {
        syslog(LOG_ERR, "reg file open error for %s", path);
        return Step::not_found;
    }
    const bool written = write_file(file.get(), kSkeleton, kSkeletonSize) && sync_file(file.get());
    if (file.close() != 0 || !written) {
        syslog(LOG_ERR, "failed to write XML file %s", path);
        unlink(path);
        return Step::failed;
    }
    struct stat status;
    if (file_status(path, status))
        make_later(path, status, g_stRegFileStats);
    return Step::again;
}

// Drops the document if the file is newer, unless it is in use or holds changes.
Step drop_if_stale(const char* path) {
    struct stat status;
    if (!file_status(path, status)) {
        syslog(LOG_ERR, "stat failed for file %s", path);
        return Step::failed;
    }
    if (!is_later(status, g_stRegFileStats))
        return Step::done;
    if (g_openKeyCount != 0)
        syslog(LOG_ERR, "can't replace log buffer from file because handles are open");
    else if (g_regDirty)
        syslog(LOG_ERR, "can't replace log buffer from file because it's dirty.  Merge needed.");
    else
        drop_document();
    return Step::done;
}

// A broken registry is replaced by the skeleton, and its content is lost: a device must start with some
// registry.
Step discard_broken(const char* path, Descriptor& file, long got) {
    syslog(
        LOG_ERR,
        "Registry corrupt: g_pVurlDOM.ReadDoc failed for file %s, file size: %ld, read size: %d, reloading "
        "skeleton registry",
        path, static_cast<long>(g_stRegFileStats.st_size), static_cast<int>(got));
    file.close();
    g_regLoaded = false;
    return unlink(path) == 0 ? Step::again : Step::failed;
}

Step read_document(const char* path, Descriptor& file) {
    if (!file_status(path, g_stRegFileStats)) {
        syslog(LOG_ERR, "stat failed for file %s", path);
        return Step::failed;
    }
    if (g_pVurlDOM == nullptr)
        g_pVurlDOM = new (std::nothrow) CRegVurlDOM;
    const auto size = static_cast<unsigned>(g_stRegFileStats.st_size);
    char* buffer = g_pVurlDOM != nullptr ? g_pVurlDOM->CreateDocBuffer(size) : nullptr;
    if (buffer == nullptr) {
        syslog(LOG_ERR, "g_pVurlDOM.CreateDocBuffer failed for file %s", path);
        return Step::failed;
    }
    const long got = read_file(file.get(), buffer, size);
    if (got < 0) {
        // Not a reason to throw the file away: the next call may be able to read it.
        syslog(LOG_ERR, "failed to read XML file %s", path);
        return Step::failed;
    }
    buffer[got] = '\0';
    if (g_pVurlDOM->ReadDoc() != 0) {
        g_regLoaded = true;
        note_compact();
        return Step::done;
    }
    // Nor is exhausted memory.
    return g_pVurlDOM->m_nError == kParserOutOfMemory ? Step::failed : discard_broken(path, file, got);
}

Step load_once(const char* path) {
    Descriptor file(open_file(path, O_RDWR));
    if (file.get() == -1)
        return create_skeleton(path);
    if (MoveTmpRegistry() != 0)
        return Step::again;
    Step step = g_regLoaded ? drop_if_stale(path) : Step::done;
    if (step == Step::done && !g_regLoaded)
        step = read_document(path, file);
    if (step == Step::done)
        g_regFd = file.release();
    return step;
}

} // namespace
} // namespace kalto

LONG LoadRegistry(void) {
    using namespace kalto;
    if (g_regFd != -1)
        return ERROR_SUCCESS;
    forget_open_keys();
    std::string path;
    Step step = store_path(kRegistryFile, path) ? Step::again : Step::failed;
    for (int round = 0; step == Step::again && round < kMostRounds; ++round)
        step = load_once(path.c_str());
    if (step == Step::done)
        return ERROR_SUCCESS;
    // Changes that no save could store yet outlive a file that cannot be read just now.
    if (!g_regDirty)
        drop_document();
    return step == Step::not_found ? ERROR_FILE_NOT_FOUND : ERROR_REGISTRY_IO_FAILED;
}
