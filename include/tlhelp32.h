/* Process snapshots, which are fixed-result stubs here. */
#ifndef KALTO_TLHELP32_H
#define KALTO_TLHELP32_H

#include <kalto/kernel.h>
#include <kalto/types.h>

#endif
