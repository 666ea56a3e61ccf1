// The process-wide list of named objects.
#ifndef KALTO_KERNEL_NAMED_OBJECTS_H
#define KALTO_KERNEL_NAMED_OBJECTS_H

#include "kernel/critical_section.h"
#include "kernel/handle_record.h"

namespace kalto {

struct NamedObjectEntry {
    HandleRecord* object;
    wchar_t* name;
    DWORD count; // the create calls that returned the object and whose release is not yet accounted for
    NamedObjectEntry* next;
};

// Held while the list is looked at or changed.
class NamedObjectsLock : public SectionGuard {
  public:
    NamedObjectsLock();
};

// The first living object of that name and type, with one more opener noted, or null. Under the lock.
HandleRecord* open_named_object(LPCWSTR name, DWORD type);

// An entry with its own copy of the name and a count of 1, not yet in the list; null when memory is out.
// Under the lock.
NamedObjectEntry* make_named_entry(LPCWSTR name);

// Makes the object findable. Under the lock.
void publish_named_object(NamedObjectEntry* entry, HandleRecord* object);

// Takes the entry of a released object out of the list and returns how many openers have yet to close their
// handles. Takes the lock itself.
LONG forget_named_object(NamedObjectEntry* entry);

} // namespace kalto

#endif
