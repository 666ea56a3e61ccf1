// Ending a load cycle: what is marked as deleted is purged, a changed document is written, and the file is
// closed. Called with the registry lock held.
//
// The old registry stays in place until the new one is written, synced and parsed again. A save that fails
// keeps the document marked as changed, and the next cycle's end tries again.
#include "registry/open_keys.h"
#include "registry/pending_file.h"
#include "registry/sibling_index.h"
#include "xml/text_stream.h"
#include <fcntl.h>
#include <kalto/registry.h>
#include <string>
#include <syslog.h>
#include <unistd.h>

namespace kalto {
namespace {

constexpr int kEntered = 1; // of BeginTraverseHere and ContinueTraverse: on an element not visited before

// A removed element's record is recycled only after the walk has moved on from it.
void purge() {
    drop_indices();
    lose_deleted_keys();
    CRegVurlIterator walk;
    CVurlNode* removed = nullptr;
    walk.BindToDOM(g_pVurlDOM);
    for (int step = walk.BeginTraverseHere(); step != 0; step = walk.ContinueTraverse()) {
        if (removed != nullptr) {
            g_pVurlDOM->FreeNode(removed);
            removed = nullptr;
        }
        if (!walk.IsDeleted())
            continue;
        note_change();
        if (step == kEntered) {
            walk.DeleteChildren();
        } else {
            walk.DeleteElement();
            removed = walk.m_pNode;
        }
    }
    if (removed != nullptr)
        g_pVurlDOM->FreeNode(removed);
    g_regDeletions = false;
}

class FileReceiver final : public TextReceiver {
  public:
    explicit FileReceiver(int fd) : fd_(fd) {}
    bool take(const char* text, size_t length) override { return write_file(fd_, text, length); }

  private:
    int fd_;
};

// Guarded by the registry lock.
char g_window[64 * 1024];

bool write_document() {
    std::string path;
    if (!store_path(kPendingFile, path))
        return false;
    Descriptor file(open_file(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC));
    if (file.get() == -1) {
        syslog(LOG_ERR, "failed to open new XML file %s", path.c_str());
        return false;
    }
    FileReceiver receiver(file.get());
    const bool written = stream_text(g_pVurlDOM, receiver, g_window, sizeof g_window);
    // The disk works while the file is verified, and has not much left to do when it must be synced.
    if (written && start_writing_back(file.get()))
        return settle_pending_file(path, file);
    syslog(LOG_ERR, "failed to write XML file %s", path.c_str());
    // What the disk may not have must not replace anything, though it may well parse.
    if (written)
        unlink(path.c_str());
    else
        MoveTmpRegistry();
    return false;
}

// So that this process does not take its own save for a change from outside.
void remember_status() {
    std::string path;
    if (store_path(kRegistryFile, path) && !file_status(path.c_str(), g_stRegFileStats))
        syslog(LOG_ERR, "stat failed for file %s", path.c_str());
}

} // namespace
} // namespace kalto

void SaveRegistry(void) {
    using namespace kalto;
    if (g_regFd == -1)
        return;
    if (g_regDeletions)
        purge();
    // Nothing was written through it, so there is nothing to sync.
    Descriptor file(g_regFd);
    g_regFd = -1;
    file.close();
    if (g_regDirty && write_document()) {
        remember_status();
        g_regDirty = false;
        g_regSetCount = 0;
    }
}
