#include <kalto/kernel.h>

/* A start routine as plain C is on the device: the unwinder cannot pass it. Waits for the event for ever. */
DWORD wait_without_unwind_tables(LPVOID event);

DWORD wait_without_unwind_tables(LPVOID event) {
    DWORD result = WaitForSingleObject(event, INFINITE);
    return result + 1; /* no tail call: this frame stays */
}
