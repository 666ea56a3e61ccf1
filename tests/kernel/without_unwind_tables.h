#ifndef KALTO_TESTS_KERNEL_WITHOUT_UNWIND_TABLES_H
#define KALTO_TESTS_KERNEL_WITHOUT_UNWIND_TABLES_H

#include <kalto/kernel.h>

KALTO_BEGIN_DECLS

/* A start routine as plain C is on the device: the unwinder cannot pass it. Waits for the event for ever. */
DWORD wait_without_unwind_tables(LPVOID event);

KALTO_END_DECLS

#endif
