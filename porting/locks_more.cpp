// What critical sections and interlocked operations lack in the kernel folder.
#include "kernel/critical_section.h"
#include "kernel/interlocked.h"

#include <kalto/porting.h>

BOOL TryEnterCriticalSection(LPCRITICAL_SECTION lpCriticalSection) {
    return kalto::try_enter(*lpCriticalSection) ? TRUE : FALSE;
}

void DeleteCriticalSection(LPCRITICAL_SECTION lpCriticalSection) {
    sem_destroy(&lpCriticalSection->LockSemaphore);
}

LONG InterlockedCompareExchange(LONG volatile* Destination, LONG Exchange, LONG Comparand) {
    return InterlockedTestExchange(Destination, Comparand, Exchange);
}

PVOID InterlockedCompareExchangePointer(PVOID volatile* Destination, PVOID Exchange, PVOID Comparand) {
    const kalto::InterlockedSection held;
    PVOID const before = *Destination;
    if (before == Comparand)
        *Destination = Exchange;
    return before;
}

PVOID InterlockedExchangePointer(PVOID volatile* Target, PVOID Value) {
    const kalto::InterlockedSection held;
    PVOID const before = *Target;
    *Target = Value;
    return before;
}
