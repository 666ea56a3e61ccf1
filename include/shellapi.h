/* The command line as a vector (CommandLineToArgvW); there is no shell here. */
#ifndef KALTO_SHELLAPI_H
#define KALTO_SHELLAPI_H

#include <windows.h>

#endif
