// Formatting without a limit known beforehand.
#ifndef KALTO_PORTING_SIZED_PRINT_H
#define KALTO_PORTING_SIZED_PRINT_H

#include <cstdarg>
#include <kalto/types.h>

namespace kalto {

// The text that a format of the wide family gives, from malloc, and its length; null when it cannot be
// formatted or memory is out. arguments is not used up.
WCHAR* format_whole(const WCHAR* format, va_list arguments, int* length);

} // namespace kalto

#endif
