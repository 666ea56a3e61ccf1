/* The umbrella, as some sources spell it. */
#ifndef KALTO_WINDOWS_CAPITAL_H
#define KALTO_WINDOWS_CAPITAL_H

#include <windows.h>

#endif
