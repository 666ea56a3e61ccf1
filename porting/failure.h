// The way out of a call that fails.
#ifndef KALTO_PORTING_FAILURE_H
#define KALTO_PORTING_FAILURE_H

#include <kalto/core.h>

namespace kalto {

// Sets the last error and returns the call's failure result.
template <typename Result> Result fail(DWORD error, Result result) {
    SetLastError(error);
    return result;
}

} // namespace kalto

#endif
