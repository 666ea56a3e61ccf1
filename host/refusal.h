// How a hook says no.
#ifndef KALTO_HOST_REFUSAL_H
#define KALTO_HOST_REFUSAL_H

#include <kalto/errors.h>
#include <kalto/host.h>

namespace kalto {

inline BOOL refuse(int error) {
    PTR_SetLastError(static_cast<DWORD>(error));
    return FALSE;
}

// error is 0 or an errno value.
inline BOOL succeed_unless(int error) {
    return error == 0 ? TRUE : refuse(error);
}

} // namespace kalto

#endif
