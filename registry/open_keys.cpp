// The table of opened keys.
#include "registry/open_keys.h"

#include "registry/key_path.h"
#include "registry/store.h"
#include <cstdint>
#include <kalto/errors.h>
#include <kalto/registry.h>
#include <new>

namespace kalto {

int g_openKeyCount = 0;

namespace {

// Cursors can only be forgotten by a program that closes a predefined key. The oldest of many are freed.
constexpr int kMostForgotten = 256;

OpenedKey* g_openKeys[kMostOpenKeys];
OpenedKey* g_forgotten = nullptr; // newest first

// A root that the interface creates is named in lower case.
constexpr const char* kRootNames[] = {nullptr, "hkey_classes_root", "hkey_current_user", "hkey_local_machine",
                                      "hkey_users"};

OpenedKey** slot_of(HKEY key) {
    for (OpenedKey*& slot : g_openKeys)
        if (slot != nullptr && reinterpret_cast<HKEY>(slot) == key)
            return &slot;
    return nullptr;
}

OpenedKey* forgotten(HKEY key) {
    OpenedKey* cursor = g_forgotten;
    while (cursor != nullptr && reinterpret_cast<HKEY>(cursor) != key)
        cursor = cursor->next_forgotten;
    return cursor;
}

void free_oldest_forgotten() {
    OpenedKey** link = &g_forgotten;
    for (int i = 0; *link != nullptr && i < kMostForgotten; ++i)
        link = &(*link)->next_forgotten;
    while (*link != nullptr) {
        OpenedKey* oldest = *link;
        *link = oldest->next_forgotten;
        delete oldest;
    }
}

bool stands_somewhere(const OpenedKey& cursor) {
    return cursor.document == g_regDocument && cursor.m_pNode != nullptr;
}

bool below_deleted(CVurlNode* node) {
    while (node != nullptr && mark_of(node).deleted == 0)
        node = node->pParent;
    return node != nullptr;
}

void lose_if_deleted(OpenedKey* cursor) {
    if (cursor != nullptr && stands_somewhere(*cursor) && below_deleted(cursor->m_pNode))
        cursor->m_pNode = nullptr;
}

} // namespace

bool is_predefined(HKEY key) {
    const auto value = reinterpret_cast<uintptr_t>(key);
    return value >= 1 && value <= 4;
}

bool is_valid_key(HKEY key) {
    return is_predefined(key) || slot_of(key) != nullptr;
}

LONG register_open_key(const CRegVurlIterator& position, HKEY* result) {
    *result = nullptr;
    for (OpenedKey*& slot : g_openKeys) {
        if (slot != nullptr)
            continue;
        slot = new (std::nothrow) OpenedKey(position, g_regDocument);
        if (slot == nullptr)
            return ERROR_REGISTRY_IO_FAILED;
        ++g_openKeyCount;
        *result = reinterpret_cast<HKEY>(slot);
        return ERROR_SUCCESS;
    }
    return ERROR_FILE_NOT_FOUND;
}

LONG close_key(HKEY key) {
    OpenedKey** slot = slot_of(key);
    if (slot != nullptr) {
        delete *slot;
        *slot = nullptr;
    } else if (!is_predefined(key)) {
        return ERROR_FILE_NOT_FOUND;
    }
    // Deliberate: closing a predefined key lowers the count too, though nothing was registered for it.
    // Programs that open and close roots in pairs of their own rely on the save that the count of zero
    // brings.
    --g_openKeyCount;
    return ERROR_SUCCESS;
}

LONG resolve_key(HKEY key, ResolvedKey& out) {
    if (is_predefined(key))
        return walk_path(nullptr, kRootNames[reinterpret_cast<uintptr_t>(key)], true, out.cursor);
    OpenedKey** slot = slot_of(key);
    if (slot == nullptr)
        return ERROR_FILE_NOT_FOUND;
    if (!stands_somewhere(**slot) || (*slot)->IsDeleted())
        return ERROR_KEY_DELETED;
    out.opened = *slot;
    out.cursor = **slot;
    return ERROR_SUCCESS;
}

LONG resolve_parent(HKEY parent, CRegVurlIterator& out) {
    if (is_predefined(parent)) {
        ResolvedKey root;
        const LONG result = resolve_key(parent, root);
        out = root.cursor;
        return result;
    }
    OpenedKey** slot = slot_of(parent);
    OpenedKey* cursor = slot != nullptr ? *slot : forgotten(parent);
    if (cursor == nullptr)
        return ERROR_FILE_NOT_FOUND;
    if (!stands_somewhere(*cursor))
        return ERROR_KEY_DELETED;
    out = *cursor;
    return ERROR_SUCCESS;
}

void forget_open_keys() {
    for (OpenedKey*& slot : g_openKeys) {
        if (slot == nullptr)
            continue;
        slot->next_forgotten = g_forgotten;
        g_forgotten = slot;
        slot = nullptr;
    }
    free_oldest_forgotten();
}

void lose_deleted_keys() {
    for (OpenedKey* cursor : g_openKeys)
        lose_if_deleted(cursor);
    for (OpenedKey* cursor = g_forgotten; cursor != nullptr; cursor = cursor->next_forgotten)
        lose_if_deleted(cursor);
}

} // namespace kalto
