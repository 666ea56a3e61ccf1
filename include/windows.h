/* The umbrella that a ported source includes. */
#ifndef KALTO_WINDOWS_H
#define KALTO_WINDOWS_H

#include <stdarg.h>
#include <stddef.h>
#include <string.h>
#include <winbase.h>
#include <windef.h>
#include <winerror.h>
#include <winnt.h>
#include <winreg.h>
#include <winver.h>

#endif
