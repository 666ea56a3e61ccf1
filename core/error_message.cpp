// One-line messages about errors, and the symbolic names of errno values.
#include <kalto/core.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

constexpr int kErrnoNames = 132;
constexpr size_t kMessageSize = 100;
constexpr size_t kSystemTextSize = 256;

// In the order of their numbers; 41 and 58 are unused on Linux.
// clang-format off
const char* const ename[kErrnoNames] = {
    "", "EPERM", "ENOENT", "ESRCH", "EINTR", "EIO", "ENXIO", "E2BIG", "ENOEXEC", "EBADF", "ECHILD",
    "EAGAIN/EWOULDBLOCK", "ENOMEM", "EACCES", "EFAULT", "ENOTBLK", "EBUSY", "EEXIST", "EXDEV", "ENODEV",
    "ENOTDIR", "EISDIR", "EINVAL", "ENFILE", "EMFILE", "ENOTTY", "ETXTBSY", "EFBIG", "ENOSPC", "ESPIPE",
    "EROFS", "EMLINK", "EPIPE", "EDOM", "ERANGE", "EDEADLK/EDEADLOCK", "ENAMETOOLONG", "ENOLCK", "ENOSYS",
    "ENOTEMPTY", "ELOOP", "", "ENOMSG", "EIDRM", "ECHRNG", "EL2NSYNC", "EL3HLT", "EL3RST", "ELNRNG",
    "EUNATCH", "ENOCSI", "EL2HLT", "EBADE", "EBADR", "EXFULL", "ENOANO", "EBADRQC", "EBADSLT", "", "EBFONT",
    "ENOSTR", "ENODATA", "ETIME", "ENOSR", "ENONET", "ENOPKG", "EREMOTE", "ENOLINK", "EADV", "ESRMNT",
    "ECOMM", "EPROTO", "EMULTIHOP", "EDOTDOT", "EBADMSG", "EOVERFLOW", "ENOTUNIQ", "EBADFD", "EREMCHG",
    "ELIBACC", "ELIBBAD", "ELIBSCN", "ELIBMAX", "ELIBEXEC", "EILSEQ", "ERESTART", "ESTRPIPE", "EUSERS",
    "ENOTSOCK", "EDESTADDRREQ", "EMSGSIZE", "EPROTOTYPE", "ENOPROTOOPT", "EPROTONOSUPPORT",
    "ESOCKTNOSUPPORT", "EOPNOTSUPP/ENOTSUP", "EPFNOSUPPORT", "EAFNOSUPPORT", "EADDRINUSE", "EADDRNOTAVAIL",
    "ENETDOWN", "ENETUNREACH", "ENETRESET", "ECONNABORTED", "ECONNRESET", "ENOBUFS", "EISCONN", "ENOTCONN",
    "ESHUTDOWN", "ETOOMANYREFS", "ETIMEDOUT", "ECONNREFUSED", "EHOSTDOWN", "EHOSTUNREACH", "EALREADY",
    "EINPROGRESS", "ESTALE", "EUCLEAN", "ENOTNAM", "ENAVAIL", "EISNAM", "EREMOTEIO", "EDQUOT", "ENOMEDIUM",
    "EMEDIUMTYPE", "ECANCELED", "ENOKEY", "EKEYEXPIRED", "EKEYREVOKED", "EKEYREJECTED", "EOWNERDEAD",
    "ENOTRECOVERABLE",
};
// clang-format on

static const char* errno_name(int number) {
    return number > 0 && number < kErrnoNames ? ename[number] : "?UNKNOWN?";
}

void BuildSysErrMsg(char* buf, size_t size, BOOL useErrno, int errnum, const char* fmt, va_list args) {
    if (buf == nullptr || fmt == nullptr)
        return;
    char message[kMessageSize];
    vsnprintf(message, sizeof message, fmt, args);
    if (useErrno) {
        char text[kSystemTextSize];
        snprintf(buf, size, " [%s %s] %s\n", errno_name(errnum), strerror_r(errnum, text, sizeof text),
                 message);
    } else {
        snprintf(buf, size, ": %s\n", message);
    }
}

// Deliberate: neither call writes its message anywhere; callers use them for the result alone.
int Kalto_ErrMsg(const char* fmt, ...) {
    char message[kMessageSize];
    va_list args;
    va_start(args, fmt);
    BuildSysErrMsg(message, sizeof message, FALSE, 0, fmt, args);
    va_end(args);
    return 0;
}

int Kalto_ErrMsgSys(const char* fmt, ...) {
    int entry_errno = errno;
    char message[kMessageSize];
    va_list args;
    va_start(args, fmt);
    BuildSysErrMsg(message, sizeof message, TRUE, entry_errno, fmt, args);
    va_end(args);
    errno = entry_errno;
    return entry_errno;
}
