/* The multimedia timer's clock, which is the tick count. */
#ifndef KALTO_MMSYSTEM_H
#define KALTO_MMSYSTEM_H

#include <kalto/porting.h>

typedef UINT MMRESULT;
#define TIMERR_NOERROR 0
#define MMSYSERR_NOERROR 0
#define timeGetTime GetTickCount
#define timeBeginPeriod(milliseconds) ((void)(milliseconds), KALTO_CAST(MMRESULT, TIMERR_NOERROR))
#define timeEndPeriod timeBeginPeriod

#endif
