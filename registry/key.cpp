// Opening, creating, closing and deleting keys.
#include "registry/key_path.h"
#include "registry/open_keys.h"
#include "registry/registry_call.h"
#include "registry/store.h"
#include "text/convert.h"
#include <kalto/errors.h>
#include <kalto/registry.h>
#include <string>

namespace kalto {
namespace {

LONG create_key(HKEY parent, LPCWSTR path, HKEY* result, DWORD* disposition) {
    CRegVurlIterator key;
    LONG error = ERROR_FILE_NOT_FOUND;
    if (disposition != nullptr) {
        error = walk_path(parent, path, false, key);
        *disposition = error == ERROR_SUCCESS ? REG_OPENED_EXISTING_KEY : REG_CREATED_NEW_KEY;
    }
    if (error != ERROR_SUCCESS)
        error = walk_path(parent, path, true, key);
    return error == ERROR_SUCCESS ? register_open_key(key, result) : error;
}

LONG delete_tree(HKEY parent, LPCWSTR path) {
    CRegVurlIterator key;
    // Deliberate: whatever kept the walk from getting there, the answer is that there is no such key. Callers
    // that clean up test for that code alone.
    if (walk_path(parent, path, false, key) != ERROR_SUCCESS)
        return ERROR_FILE_NOT_FOUND;
    key.Delete();
    CRegVurlIterator below(key);
    for (int step = below.BeginTraverseHere(); step != 0; step = below.ContinueTraverse())
        below.Delete();
    return ERROR_SUCCESS;
}

} // namespace
} // namespace kalto

LONG RegOpenKeyEx(HKEY hKey, LPCWSTR lpSubKey, DWORD /*ulOptions*/, REGSAM /*samDesired*/, PHKEY phkResult) {
    if (phkResult == nullptr)
        return ERROR_INVALID_PARAMETER;
    const kalto::RegistryCall call;
    kalto::CRegVurlIterator key;
    const LONG error = kalto::walk_path(hKey, lpSubKey, false, key);
    return call.finish(error == ERROR_SUCCESS ? kalto::register_open_key(key, phkResult) : error);
}

LONG RegCreateKeyEx(HKEY hKey, LPCWSTR lpSubKey, DWORD /*Reserved*/, LPWSTR /*lpClass*/, DWORD /*dwOptions*/,
                    REGSAM /*samDesired*/, LPSECURITY_ATTRIBUTES /*lpSecurityAttributes*/, PHKEY phkResult,
                    LPDWORD lpdwDisposition) {
    if (phkResult == nullptr)
        return ERROR_INVALID_PARAMETER;
    const kalto::RegistryCall call;
    return call.finish(kalto::create_key(hKey, lpSubKey, phkResult, lpdwDisposition));
}

LONG RegCloseKey(HKEY hKey) {
    const kalto::RegistryCall call;
    return call.finish(kalto::close_key(hKey));
}

LONG RegDeleteKey(HKEY hKey, LPCWSTR lpSubKey) {
    if (lpSubKey == nullptr || *lpSubKey == L'\0')
        return ERROR_FILE_NOT_FOUND;
    const kalto::RegistryCall call;
    return call.finish(kalto::delete_tree(hKey, lpSubKey));
}

LONG RegDeleteKeyEx(HKEY hKey, LPCWSTR lpSubKey, REGSAM /*samDesired*/, DWORD /*Reserved*/) {
    return RegDeleteKey(hKey, lpSubKey);
}

LONG RegFlushKey(HKEY /*hKey*/) {
    return ERROR_SUCCESS;
}
