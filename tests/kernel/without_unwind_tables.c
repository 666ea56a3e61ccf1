#include "tests/kernel/without_unwind_tables.h"

DWORD wait_without_unwind_tables(LPVOID event) {
    DWORD result = WaitForSingleObject(event, INFINITE);
    return result + 1; /* no tail call: this frame stays */
}
