/* Checks of the debug run-time library: assertions are the C library's, the heap is not watched. */
#ifndef KALTO_CRTDBG_H
#define KALTO_CRTDBG_H

#include <assert.h>
#include <kalto/porting.h>

#ifndef _ASSERT
#define _ASSERT(condition) assert(condition)
#define _ASSERTE(condition) assert(condition)
#endif
#define _CRT_WARN 0
#define _CRT_ERROR 1
#define _CRT_ASSERT 2
#define _CRTDBG_ALLOC_MEM_DF 0x01
#define _CRTDBG_LEAK_CHECK_DF 0x20
#define _CRTDBG_REPORT_FLAG (-1)
#define _CRTDBG_MODE_FILE 1
#define _CRTDBG_MODE_DEBUG 2
#define _CRTDBG_FILE_STDERR KALTO_POINTER_CAST(HANDLE, -5)
#define _CrtSetDbgFlag(flags) ((void)(flags), 0)
#define _CrtSetReportMode(type, mode) ((void)(type), (void)(mode), 0)
#define _CrtSetReportFile(type, file) ((void)(type), (file))
#define _CrtSetBreakAlloc(number) ((void)(number), 0L)
#define _CrtCheckMemory() TRUE
#define _CrtDumpMemoryLeaks() FALSE
#define _RPT0(type, text) ((void)(type), (void)(text))
#define _RPT1(type, text, a) ((void)(type), (void)(text), (void)(a))
#define _RPT2(type, text, a, b) ((void)(type), (void)(text), (void)(a), (void)(b))

#endif
