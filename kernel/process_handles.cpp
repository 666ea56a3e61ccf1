// closeallhandles: what a freshly forked child does when it is to inherit nothing. Uses only what is safe
// between fork and exec.
#include <fcntl.h>
#include <kalto/kernel.h>
#include <sys/resource.h>
#include <unistd.h>

namespace kalto {

static void close_below(rlim_t limit) {
    if (close_range(0, static_cast<unsigned>(limit - 1), 0) == 0)
        return;
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
