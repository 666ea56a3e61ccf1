// Ending a load cycle: what is marked as deleted is purged, a changed document is written, and the file is
// closed. Called with the registry lock held.
//
// The old registry stays in place until the new one is written, synced and parsed again. A save that fails
// keeps the document marked as changed, and the next cycle's end tries again.
#include "registry/open_keys.h"
#include "registry/sibling_index.h"
#include "registry/store.h"
#include <cstdlib>
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

// Whether the text is in the pending file, safely, for MoveTmpRegistry to verify and move.
bool write_pending_file(const char* text, unsigned length) {
    std::string path;
    if (!store_path(kPendingFile, path))
        return false;
    Descriptor file(open_file(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC));
    if (file.get() == -1) {
        syslog(LOG_ERR, "failed to open new XML file %s", path.c_str());
        return false;
    }
    const long written = write_file(file.get(), text, length);
    if (file.close() == 0 && written == static_cast<long>(length))
        return true;
    syslog(LOG_ERR, "failed to write XML file %s", path.c_str());
    // What cannot be synced must not replace anything, though it may well parse.
    if (written < 0 || written == static_cast<long>(length))
        unlink(path.c_str());
    else
        MoveTmpRegistry();
    return false;
}

bool write_document() {
    unsigned length = 0;
    const char* text = g_pVurlDOM->WriteDoc(&length, 0);
    if (text == nullptr) {
        syslog(LOG_ERR, "failed to generate the registry text");
        return false;
    }
    const bool written = write_pending_file(text, length);
    // The file has the text now, and verifying it needs as much memory again.
    free(g_pVurlDOM->m_pDocBuffer);
    g_pVurlDOM->m_pDocBuffer = nullptr;
    return written && MoveTmpRegistry() != 0;
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
