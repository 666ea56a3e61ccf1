// Moving "registry.xml.new" into place: verify, sync, make its time later than that of the file it replaces,
// rename, sync the folder. Called with the registry lock held, by a save and by a load that finds what a
// killed process left.
//
// The file is verified as the system's cache holds it, while the disk is still writing. Only the rename needs
// both the verdict and the sync behind it; a process killed in between leaves a file that the next load
// verifies and syncs anew.
#include "registry/pending_file.h"

#include "xml/well_formed.h"
#include <cerrno>
#include <fcntl.h>
#include <kalto/registry.h>
#include <string>
#include <syslog.h>
#include <unistd.h>

namespace kalto {
namespace {

enum class Verdict { whole, broken, no_memory };

// Reads the file into the verifying document's own buffer. Its tree is not needed: a save must get by with
// little memory beside that of the registry itself.
Verdict parse_file(CRegVurlDOM& document, int fd, unsigned size) {
    char* buffer = create_text_buffer(&document, size);
    if (buffer == nullptr)
        return Verdict::no_memory;
    const long got = read_file(fd, buffer, size);
    if (got < 0)
        return Verdict::broken;
    buffer[got] = '\0';
    return is_well_formed(&document) ? Verdict::whole : Verdict::broken;
}

void sync_folder(std::string path) {
    path.resize(path.rfind('/'));
    const Descriptor folder(open_file(path.c_str(), O_RDONLY | O_DIRECTORY));
    // Not every file system can sync a folder; the new file is in place all the same.
    if ((folder.get() == -1 || !sync_file(folder.get())) && errno != EINVAL)
        syslog(LOG_ERR, "failed to sync folder %s", path.c_str());
}

// Moves the verified file over the old one. The rename alone replaces it, so that at no instant there is
// none.
bool move_into_place(const std::string& pending) {
    std::string path;
    struct stat status;
    struct stat replaced;
    if (!store_path(kRegistryFile, path))
        return false;
    if (file_status(path.c_str(), replaced) && file_status(pending.c_str(), status))
        make_later(pending.c_str(), status, replaced);
    if (rename(pending.c_str(), path.c_str()) != 0) {
        syslog(LOG_ERR, "MoveTmpRegistry: rename failed %i", errno);
        return false;
    }
    sync_folder(std::move(path));
    return true;
}

} // namespace

void make_later(const char* path, struct stat status, const struct stat& than) {
    constexpr long kNanosecondsPerSecond = 1000000000;
    // What file systems use as their unit of time.
    constexpr struct timespec kUnits[] = {{0, 1}, {0, 1000}, {0, 1000000}, {1, 0}, {2, 0}};
    for (const struct timespec& unit : kUnits) {
        if (is_later(status, than))
            return;
        const long nanoseconds = than.st_mtim.tv_nsec + unit.tv_nsec;
        const time_t seconds = unit.tv_sec + nanoseconds / kNanosecondsPerSecond;
        struct timespec times[2] = {{0, UTIME_OMIT}, {0, nanoseconds % kNanosecondsPerSecond}};
        if (__builtin_add_overflow(than.st_mtim.tv_sec, seconds, &times[1].tv_sec))
            return; // there is nothing later
        if (utimensat(AT_FDCWD, path, times, 0) != 0 || !file_status(path, status))
            return;
    }
}

bool settle_pending_file(const std::string& pending, Descriptor& written) {
    const bool whole = VerifyRegistry(pending.c_str()) != 0;
    const bool synced = whole && sync_file(written.get());
    const bool stored = written.close() == 0 && synced;
    if (stored)
        return move_into_place(pending);
    if (whole)
        syslog(LOG_ERR, "failed to write XML file %s", pending.c_str());
    unlink(pending.c_str());
    return false;
}

} // namespace kalto

int VerifyRegistry(const char* path) {
    if (path == nullptr) {
        syslog(LOG_ERR, "VerifyRegistry: Invalid path");
        return 0;
    }
    kalto::Descriptor file(kalto::open_file(path, O_RDONLY));
    if (file.get() == -1) {
        syslog(LOG_ERR, "Failed to open \"%s\" for verification. %d", path, errno);
        return 0;
    }
    struct stat status;
    if (!kalto::file_status(file.get(), status)) {
        syslog(LOG_ERR, "Failed to determine file size for \"%s\"", path);
        return 0;
    }
    kalto::CRegVurlDOM document;
    const kalto::Verdict verdict =
        kalto::parse_file(document, file.get(), static_cast<unsigned>(status.st_size));
    if (verdict == kalto::Verdict::no_memory)
        syslog(LOG_ERR, "Failed to allocate memory for registry verification");
    else if (verdict == kalto::Verdict::broken)
        syslog(LOG_ERR, "ReadDoc failed! Not updating registry (size: %i)", static_cast<int>(status.st_size));
    return verdict == kalto::Verdict::whole ? 1 : 0;
}

int MoveTmpRegistry(void) {
    std::string pending;
    struct stat status;
    if (!kalto::store_path(kalto::kPendingFile, pending))
        return 0;
    if (!kalto::file_status(pending.c_str(), status)) {
        if (errno != ENOENT)
            syslog(LOG_ERR, "MoveTmpRegistry: stat failed %i", errno);
        return 0;
    }
    kalto::Descriptor file(kalto::open_file(pending.c_str(), O_RDONLY));
    return kalto::settle_pending_file(pending, file) ? 1 : 0;
}
