#include "kernel/named_objects.h"

#include <stdlib.h>
#include <wchar.h>

namespace kalto {

static NamedObjectEntry* first_entry = nullptr;
// Deliberate: entries and names are never freed, they wait here for the next object of the same name.
static NamedObjectEntry* first_retired = nullptr;

static CRITICAL_SECTION& list_section() {
    static CRITICAL_SECTION section;
    static pthread_once_t made = PTHREAD_ONCE_INIT;
    pthread_once(&made, [] { InitializeCriticalSection(&section); });
    return section;
}

NamedObjectsLock::NamedObjectsLock() : SectionGuard(list_section()) {}

static bool alive(HandleRecord* record) {
    // Its last reference may be gone, and its release on the way to this list.
    return InterlockedExchangeAdd(&record->references, 0) > 0;
}

HandleRecord* open_named_object(LPCWSTR name, DWORD type) {
    for (NamedObjectEntry* entry = first_entry; entry != nullptr; entry = entry->next) {
        if (wcscmp(entry->name, name) != 0 || entry->object->type != type || !alive(entry->object))
            continue;
        ++entry->count;
        return entry->object;
    }
    return nullptr;
}

static NamedObjectEntry* take_retired(LPCWSTR name) {
    for (NamedObjectEntry** at = &first_retired; *at != nullptr; at = &(*at)->next) {
        NamedObjectEntry* const entry = *at;
        if (wcscmp(entry->name, name) == 0) {
            *at = entry->next;
            return entry;
        }
    }
    return nullptr;
}

static NamedObjectEntry* new_entry(LPCWSTR name) {
    auto* const entry = static_cast<NamedObjectEntry*>(malloc(sizeof(NamedObjectEntry)));
    auto* const copy = static_cast<wchar_t*>(malloc((wcslen(name) + 1) * sizeof(wchar_t)));
    if (entry == nullptr || copy == nullptr) {
        free(entry);
        free(copy);
        return nullptr;
    }
    wmemcpy(copy, name, wcslen(name) + 1);
    entry->name = copy;
    return entry;
}

NamedObjectEntry* make_named_entry(LPCWSTR name) {
    NamedObjectEntry* entry = take_retired(name);
    if (entry == nullptr)
        entry = new_entry(name);
    if (entry != nullptr)
        entry->count = 1;
    return entry;
}

void publish_named_object(NamedObjectEntry* entry, HandleRecord* object) {
    entry->object = object;
    entry->next = first_entry;
    first_entry = entry;
}

LONG forget_named_object(NamedObjectEntry* entry) {
    const NamedObjectsLock held;
    for (NamedObjectEntry** at = &first_entry; *at != nullptr; at = &(*at)->next) {
        if (*at == entry) {
            *at = entry->next;
            break;
        }
    }
    const auto others = static_cast<LONG>(entry->count - 1);
    entry->next = first_retired;
    first_retired = entry;
    return others;
}

} // namespace kalto
