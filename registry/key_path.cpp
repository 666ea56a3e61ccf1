// Following the path of a key, one component at a time.
#include "registry/key_path.h"

#include "registry/open_keys.h"
#include "registry/store.h"
#include "text/convert.h"
#include <cstring>
#include <kalto/errors.h>
#include <kalto/registry.h>

namespace kalto {
namespace {

// Takes the components of a path one by one. Two backslashes in a row enclose an empty component, which names
// a key with an empty name; one at the end encloses none.
class Components {
  public:
    explicit Components(const char* path) : rest_(*path == '\\' ? path + 1 : path) {}

    // Copies the next component to name and returns true; false at the end.
    bool next(char (&name)[kLongestComponent + 1]) {
        if (*rest_ == '\0')
            return false;
        const size_t length = strcspn(rest_, "\\");
        memcpy(name, rest_, length);
        name[length] = '\0';
        rest_ += length + (rest_[length] != '\0' ? 1 : 0);
        return true;
    }

    bool fit() const {
        for (const char* rest = rest_; *rest != '\0'; ++rest) {
            const size_t length = strcspn(rest, "\\");
            if (length > kLongestComponent)
                return false;
            rest += length;
            if (*rest == '\0')
                break;
        }
        return true;
    }

    int count() const {
        int components = 0;
        for (const char* rest = rest_; *rest != '\0'; ++components) {
            rest += strcspn(rest, "\\");
            rest += *rest != '\0' ? 1 : 0;
        }
        return components;
    }

    const char* rest() const { return rest_; }

  private:
    const char* rest_;
};

LONG start_of(HKEY parent, bool create, CRegVurlIterator& out) {
    if (parent != nullptr)
        return resolve_parent(parent, out);
    if (!create)
        return ERROR_FILE_NOT_FOUND;
    const LONG result = LoadRegistry();
    if (result != ERROR_SUCCESS)
        return result;
    return out.BindToDOM(g_pVurlDOM) != 0 ? ERROR_SUCCESS : ERROR_REGISTRY_IO_FAILED;
}

LONG result_of(Found found) {
    switch (found) {
    case Found::yes:
        return ERROR_SUCCESS;
    case Found::no:
        return ERROR_FILE_NOT_FOUND;
    case Found::too_deep:
        return ERROR_INVALID_PARAMETER;
    case Found::no_memory:
        break;
    }
    return ERROR_REGISTRY_IO_FAILED;
}

} // namespace

bool survives_file(const char* text) {
    static constexpr char kOpening[] = "<![CDATA[";
    for (const char* at = strstr(text, kOpening); at != nullptr; at = strstr(at, kOpening)) {
        at += sizeof kOpening - 1;
        const char* end = strstr(at, "]]>");
        if (end == nullptr)
            return true;
        if (memchr(at, '"', static_cast<size_t>(end - at)) != nullptr ||
            memchr(at, '&', static_cast<size_t>(end - at)) != nullptr)
            return false;
        at = end;
    }
    return true;
}

LONG walk_path(HKEY parent, const char* path, bool create, CRegVurlIterator& out) {
    Components components(path);
    LONG result = start_of(parent, create, out);
    if (result == ERROR_SUCCESS && !components.fit())
        result = ERROR_INVALID_PARAMETER;
    char name[kLongestComponent + 1];
    int left = components.count();
    while (result == ERROR_SUCCESS && components.next(name)) {
        Found found = out.Find(kKeyTag, name, false);
        if (found == Found::no && create) {
            if (out.m_nDepth + left > kDeepestKey)
                return ERROR_INVALID_PARAMETER;
            if (!survives_file(name) || !survives_file(components.rest()))
                return ERROR_REGISTRY_IO_FAILED;
            found = out.Find(kKeyTag, name, true);
        }
        result = result_of(found);
        --left;
    }
    return result;
}

LONG walk_path(HKEY parent, const wchar_t* path, bool create, CRegVurlIterator& out) {
    std::string narrow;
    if (!to_narrow(path, narrow))
        return ERROR_REGISTRY_IO_FAILED;
    return walk_path(parent, narrow.c_str(), create, out);
}

} // namespace kalto
