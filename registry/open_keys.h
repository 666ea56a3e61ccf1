// The table of opened keys, and what a caller's HKEY stands for.
//
// A key's HKEY is the address of its cursor. An address from outside is only used after it was found among
// the cursors that are alive:
//   1. A cursor is registered (in the table, opened by a caller), forgotten (opened, but the table was
//   cleared since) or
//      freed. Only a registered one is a valid key; a forgotten one still serves as the start of a path.
//   2. A cursor whose document was dropped, or whose element was purged, stands on nothing.
//   3. The count goes with the callers' opens and closes, and not with the table: see close_key.
// Guarded by the registry lock.
#ifndef KALTO_REGISTRY_OPEN_KEYS_H
#define KALTO_REGISTRY_OPEN_KEYS_H

#include "registry/registry_document.h"
#include <kalto/types.h>

namespace kalto {

constexpr int kMostOpenKeys = 256;

// Where an enumeration stood; good until the tree changes.
struct EnumPosition {
    unsigned changes;
    DWORD index;
    CVurlNode* node; // null: no position
};

struct OpenedKey : CRegVurlIterator {
    OpenedKey(const CRegVurlIterator& position, unsigned of_document)
        : CRegVurlIterator(position), document(of_document) {}

    unsigned document; // g_regDocument when it was opened
    EnumPosition keys = {0, 0, nullptr};
    EnumPosition values = {0, 0, nullptr};
    OpenedKey* next_forgotten = nullptr;
};

// What a key stands for while a call runs.
struct ResolvedKey {
    CRegVurlIterator cursor;
    OpenedKey* opened = nullptr; // null for a predefined key
};

extern int g_openKeyCount;

bool is_predefined(HKEY key);
// IsValidKey of the interface: registered or predefined.
bool is_valid_key(HKEY key);
// Opens a key at the cursor's position. 0, or 2 with *result 0 when the table is full (or memory is out:
// 1016).
LONG register_open_key(const CRegVurlIterator& position, HKEY* result);
LONG close_key(HKEY key);

// Where an HKEY stands: a root is loaded, and created if need be. 2 invalid, 1018 deleted.
LONG resolve_key(HKEY key, ResolvedKey& out);
// The start of a path: as resolve_key, but any cursor that is alive serves, deleted or not.
LONG resolve_parent(HKEY parent, CRegVurlIterator& out);

// A new load cycle clears the table.
void forget_open_keys();
// Before a purge: takes the cursors off the elements that are about to go.
void lose_deleted_keys();

} // namespace kalto

#endif
