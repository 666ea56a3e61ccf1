#include "kernel/interlocked.h"

namespace kalto {

static CRITICAL_SECTION& process_wide_section() {
    static CRITICAL_SECTION section;
    static pthread_once_t made = PTHREAD_ONCE_INIT;
    pthread_once(&made, [] { InitializeCriticalSection(&section); });
    return section;
}

InterlockedSection::InterlockedSection() : SectionGuard(process_wide_section()) {}

static LONG wrapped_sum(LONG a, LONG b) {
    return static_cast<LONG>(static_cast<ULONG>(a) + static_cast<ULONG>(b));
}

static LONG add(LONG volatile* target, LONG value) {
    const InterlockedSection held;
    const LONG sum = wrapped_sum(*target, value);
    *target = sum;
    return sum;
}

} // namespace kalto

LONG InterlockedIncrement(LONG volatile* Addend) {
    return kalto::add(Addend, 1);
}

LONG InterlockedDecrement(LONG volatile* Addend) {
    return kalto::add(Addend, -1);
}

LONG InterlockedExchange(LONG volatile* Target, LONG Value) {
    const kalto::InterlockedSection held;
    const LONG before = *Target;
    *Target = Value;
    return before;
}

LONG InterlockedExchangeAdd(LONG volatile* Addend, LONG Value) {
    const kalto::InterlockedSection held;
    const LONG before = *Addend;
    *Addend = kalto::wrapped_sum(before, Value);
    return before;
}

LONG InterlockedTestExchange(LONG volatile* Target, LONG oldValue, LONG newValue) {
    const kalto::InterlockedSection held;
    const LONG before = *Target;
    if (before == oldValue)
        *Target = newValue;
    return before;
}
