/* Exists so that sources which include it compile; there are no controls here. */
#ifndef KALTO_COMMCTRL_H
#define KALTO_COMMCTRL_H

#include <windows.h>

#define InitCommonControls() ((void)0)

#endif
