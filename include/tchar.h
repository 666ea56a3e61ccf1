/* Text in the character width of the build, which is the wide one. */
#ifndef KALTO_TCHAR_H
#define KALTO_TCHAR_H

#include <kalto/text.h>
#include <kalto/types.h>
#include <wchar.h>

#endif
