/* Macros over the base calls; there is no windowing here. */
#ifndef KALTO_WINDOWSX_H
#define KALTO_WINDOWSX_H

#include <windows.h>

#define GlobalAllocPtr(flags, size) (GlobalAlloc((flags), (size)))
#define GlobalReAllocPtr(block, size, flags) (GlobalReAlloc((block), (size), (flags)))
#define GlobalFreePtr(block) ((BOOL)(ULONG_PTR)GlobalFree(block))
#define GET_X_LPARAM(parameter) ((int)(short)LOWORD(parameter))
#define GET_Y_LPARAM(parameter) ((int)(short)HIWORD(parameter))

#endif
