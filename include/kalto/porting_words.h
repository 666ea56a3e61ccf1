/* Words of the compilers that ported source was written for. They occur before any include, so the flags of
 * the kalto-porting package include this file first. */
#ifndef KALTO_PORTING_WORDS_H
#define KALTO_PORTING_WORDS_H

#ifndef __int64
#define __int64 long long
#endif
#ifndef __cdecl
#define __cdecl
#endif
#ifndef __stdcall
#define __stdcall
#endif
#ifndef __fastcall
#define __fastcall
#endif
#ifndef _cdecl
#define _cdecl
#endif
#ifndef _stdcall
#define _stdcall
#endif
#ifndef __forceinline
#define __forceinline __inline__ __attribute__((always_inline))
#endif
#ifndef __unaligned
#define __unaligned
#endif
#ifndef __w64
#define __w64
#endif

/* One attribute at a time, as sources write them. */
#ifndef __declspec
#define __declspec(attribute) KALTO_DECLSPEC_##attribute
#define KALTO_DECLSPEC_dllexport __attribute__((visibility("default")))
#define KALTO_DECLSPEC_dllimport
#define KALTO_DECLSPEC_noreturn __attribute__((noreturn))
#define KALTO_DECLSPEC_naked
#define KALTO_DECLSPEC_noinline __attribute__((noinline))
#define KALTO_DECLSPEC_nothrow __attribute__((nothrow))
#define KALTO_DECLSPEC_novtable
#define KALTO_DECLSPEC_selectany __attribute__((weak))
#define KALTO_DECLSPEC_thread __thread
#define KALTO_DECLSPEC_deprecated __attribute__((deprecated))
#define KALTO_DECLSPEC_align(bytes) __attribute__((aligned(bytes)))
#define KALTO_DECLSPEC_uuid(text)
#endif

#endif
