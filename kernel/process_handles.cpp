// closeallhandles: what a freshly forked child does when it is to inherit nothing. Uses only what is safe
// between fork and exec.
#include <fcntl.h>
#include <kalto/kernel.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace kalto {

static void close_below(rlim_t limit) {
#ifdef SYS_close_range // not in every kernel, and in fewer C libraries; the limit may be a million
    if (syscall(SYS_close_range, 0u, static_cast<unsigned>(limit - 1), 0u) == 0)
        return;
#endif
    for (rlim_t descriptor = 0; descriptor < limit; ++descriptor)
        close(static_cast<int>(descriptor));
}

} // namespace kalto

int closeallhandles(void) {
    struct rlimit limit {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_max == 0)
        return -1;
    kalto::close_below(limit.rlim_max);
    if (setsid() < 0)
        return -1;
    const int input = open("/dev/null", O_RDWR);
    const int output = dup(input);
    const int error = dup(input);
    return input == 0 && output == 1 && error == 2 ? 0 : -1;
}
