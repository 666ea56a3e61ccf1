// Going through the keys and values of a key.
#include "registry/open_keys.h"
#include "registry/registry_call.h"
#include "registry/store.h"
#include "registry/value.h"
#include "text/convert.h"
#include <algorithm>
#include <cstring>
#include <kalto/errors.h>
#include <kalto/registry.h>

namespace kalto {
namespace {

using IsKind = bool (*)(const CVurlNode* node);

bool counts(CVurlNode* node, IsKind is_kind) {
    return mark_of(node).deleted == 0 && is_kind(node);
}

// The index-th live child of a kind, or null. `position` (may be null) says where the last enumeration of
// this key stood, so that one with rising indices walks the children once.
CVurlNode* child_at(CVurlNode* parent, IsKind is_kind, DWORD index, EnumPosition* position) {
    CVurlNode* child = parent->pFirstChild;
    DWORD passed = 0;
    if (position != nullptr && position->node != nullptr && position->changes == g_regChanges &&
        position->index <= index) {
        child = position->node;
        passed = position->index;
    }
    for (; child != nullptr; child = child->pNextSibling)
        if (counts(child, is_kind) && passed++ == index)
            break;
    if (child != nullptr && position != nullptr)
        *position = {g_regChanges, index, child};
    return child;
}

// Deliberate: lengths are those of the stored bytes, also where the characters are fewer; a name that does
// not fit gives 22, and the length stays. Callers size their buffers by these numbers.
LONG copy_name(const CVurlNode* node, LPWSTR name, DWORD* length) {
    const char* stored = name_of(node);
    const size_t bytes = strlen(stored);
    if (name == nullptr || length == nullptr || bytes >= *length)
        return ERROR_INVALID_PARAMETER;
    if (!widen_into(stored, name, bytes + 1))
        return ERROR_REGISTRY_IO_FAILED;
    *length = static_cast<DWORD>(bytes);
    return ERROR_SUCCESS;
}

LONG enumerate_key(HKEY key, DWORD index, LPWSTR name, DWORD* length) {
    ResolvedKey resolved;
    const LONG error = resolve_key(key, resolved);
    if (error != ERROR_SUCCESS)
        return error;
    EnumPosition* position = resolved.opened != nullptr ? &resolved.opened->keys : nullptr;
    const CVurlNode* child = child_at(resolved.cursor.m_pNode, is_key, index, position);
    return child != nullptr ? copy_name(child, name, length) : ERROR_FILE_NOT_FOUND;
}

LONG enumerate_value(HKEY key, DWORD index, LPWSTR name, DWORD* length, DWORD* type, BYTE* data,
                     DWORD* size) {
    ResolvedKey resolved;
    LONG error = resolve_key(key, resolved);
    if (error != ERROR_SUCCESS)
        return error;
    EnumPosition* position = resolved.opened != nullptr ? &resolved.opened->values : nullptr;
    const CVurlNode* child = child_at(resolved.cursor.m_pNode, is_value, index, position);
    if (child == nullptr)
        return ERROR_FILE_NOT_FOUND;
    error = copy_name(child, name, length);
    return error == ERROR_SUCCESS ? decode_value(child, type, data, size) : error;
}

struct KeyInfo {
    DWORD keys = 0;
    DWORD longest_key = 0;
    DWORD values = 0;
    DWORD longest_value_name = 0;
    DWORD largest_data = 0;
};

LONG query_info(HKEY key, KeyInfo& info) {
    ResolvedKey resolved;
    const LONG error = resolve_key(key, resolved);
    if (error != ERROR_SUCCESS)
        return error;
    for (CVurlNode* child = resolved.cursor.m_pNode->pFirstChild; child != nullptr;
         child = child->pNextSibling) {
        const auto length = static_cast<DWORD>(strlen(name_of(child)));
        if (counts(child, is_key)) {
            ++info.keys;
            info.longest_key = std::max(info.longest_key, length);
        } else if (counts(child, is_value)) {
            DWORD size = 0;
            decode_value(child, nullptr, nullptr, &size);
            ++info.values;
            info.longest_value_name = std::max(info.longest_value_name, length);
            info.largest_data = std::max(info.largest_data, size);
        }
    }
    return ERROR_SUCCESS;
}

void give(DWORD* destination, DWORD value) {
    if (destination != nullptr)
        *destination = value;
}

} // namespace
} // namespace kalto

LONG RegEnumKeyEx(HKEY hKey, DWORD dwIndex, LPWSTR lpName, LPDWORD lpcchName, LPDWORD /*lpReserved*/,
                  LPWSTR /*lpClass*/, LPDWORD /*lpcchClass*/, PFILETIME /*lpftLastWriteTime*/) {
    const kalto::RegistryCall call;
    return call.finish(kalto::enumerate_key(hKey, dwIndex, lpName, lpcchName));
}

LONG RegEnumValue(HKEY hKey, DWORD dwIndex, LPWSTR lpValueName, LPDWORD lpcchValueName,
                  LPDWORD /*lpReserved*/, LPDWORD lpType, LPBYTE lpData, LPDWORD lpcbData) {
    const kalto::RegistryCall call;
    return call.finish(
        kalto::enumerate_value(hKey, dwIndex, lpValueName, lpcchValueName, lpType, lpData, lpcbData));
}

LONG RegQueryInfoKey(HKEY hKey, LPWSTR /*lpClass*/, LPDWORD /*lpcchClass*/, LPDWORD /*lpReserved*/,
                     LPDWORD lpcSubKeys, LPDWORD lpcbMaxSubKeyLen, LPDWORD /*lpcbMaxClassLen*/,
                     LPDWORD lpcValues, LPDWORD lpcbMaxValueNameLen, LPDWORD lpcbMaxValueLen,
                     LPDWORD /*lpcbSecurityDescriptor*/, PFILETIME /*lpftLastWriteTime*/) {
    const kalto::RegistryCall call;
    kalto::KeyInfo info;
    const LONG error = kalto::query_info(hKey, info);
    if (error == ERROR_SUCCESS) {
        kalto::give(lpcSubKeys, info.keys);
        kalto::give(lpcbMaxSubKeyLen, info.longest_key);
        kalto::give(lpcValues, info.values);
        kalto::give(lpcbMaxValueNameLen, info.longest_value_name);
        kalto::give(lpcbMaxValueLen, info.largest_data);
    }
    return call.finish(error);
}
