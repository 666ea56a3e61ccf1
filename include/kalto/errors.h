/* Error numbers. The library reports POSIX numbers under the conventional names, so that a ported comparison
 * does the right thing; the registry's own codes keep their conventional values. */
#ifndef KALTO_ERRORS_H
#define KALTO_ERRORS_H

#include <errno.h>
#include <kalto/types.h>

#define NO_ERROR 0
#define ERROR_SUCCESS 0

/* Named by the calls of the library itself. */
#define ERROR_FILE_NOT_FOUND 2        /* ENOENT; the registry: no such key or value */
#define ERROR_NO_MORE_ITEMS 2         /* the registry: end of an enumeration */
#define ERROR_ACCESS_DENIED 13        /* EACCES */
#define ERROR_GEN_FAILURE 19          /* whatever has no better name */
#define ERROR_INVALID_PARAMETER 22    /* EINVAL */
#define ERROR_INSUFFICIENT_BUFFER 36  /* a text or table does not fit the caller's buffer */
#define ERROR_BUFFER_OVERFLOW 36      /* the same, under the name that some callers compare with */
#define ERROR_MORE_DATA 90            /* the registry: data does not fit the caller's buffer */
#define ERROR_REGISTRY_IO_FAILED 1016 /* the registry file cannot be used, or a text cannot be expressed */
#define ERROR_KEY_DELETED 1018        /* the opened key was deleted */

/* Named by the hooks of the host: the POSIX error of that meaning. */
#define ERROR_PATH_NOT_FOUND ENOTDIR
#define ERROR_TOO_MANY_OPEN_FILES EMFILE
#define ERROR_INVALID_HANDLE EBADF
#define ERROR_NOT_ENOUGH_MEMORY ENOMEM
#define ERROR_OUTOFMEMORY ENOMEM
#define ERROR_NOT_SAME_DEVICE EXDEV
#define ERROR_WRITE_PROTECT EROFS
#define ERROR_WRITE_FAULT EIO
#define ERROR_READ_FAULT EIO
#define ERROR_IO_DEVICE EIO
#define ERROR_SHARING_VIOLATION EBUSY
#define ERROR_LOCK_VIOLATION EDEADLK
#define ERROR_BUSY EBUSY
#define ERROR_FILE_EXISTS EEXIST
#define ERROR_ALREADY_EXISTS EEXIST
#define ERROR_DISK_FULL ENOSPC
#define ERROR_HANDLE_DISK_FULL ENOSPC
#define ERROR_DIR_NOT_EMPTY ENOTEMPTY
#define ERROR_NOT_SUPPORTED EOPNOTSUPP
#define ERROR_CALL_NOT_IMPLEMENTED ENOSYS
#define ERROR_INVALID_NAME EILSEQ
#define ERROR_BAD_PATHNAME ELOOP
#define ERROR_FILENAME_EXCED_RANGE ENAMETOOLONG
#define ERROR_NOT_READY EAGAIN
#define ERROR_BROKEN_PIPE EPIPE
#define ERROR_OPERATION_ABORTED ECANCELED
#define ERROR_TIMEOUT ETIMEDOUT
#define ERROR_NO_DATA ENODATA
#define ERROR_PRIVILEGE_NOT_HELD EPERM

#define ERROR_INVALID_FUNCTION ENOTTY
#define ERROR_BAD_FORMAT ENOEXEC
#define ERROR_BAD_EXE_FORMAT ENOEXEC
#define ERROR_MOD_NOT_FOUND ELIBACC
#define ERROR_PROC_NOT_FOUND ENXIO
#define ERROR_INVALID_DRIVE ENODEV
#define ERROR_BAD_UNIT ENODEV
#define ERROR_DEV_NOT_EXIST ENODEV
#define ERROR_FILE_TOO_LARGE EFBIG
#define ERROR_SEEK ESPIPE
#define ERROR_NEGATIVE_SEEK EINVAL
#define ERROR_DIRECTORY ENOTDIR
#define ERROR_CURRENT_DIRECTORY EBUSY
#define ERROR_CANCELLED ECANCELED
#define ERROR_HANDLE_EOF ENODATA
#define ERROR_CRC EBADMSG
#define ERROR_INVALID_DATA EBADMSG
#define ERROR_TOO_MANY_LINKS EMLINK
#define ERROR_INVALID_ADDRESS EFAULT
#define ERROR_NOACCESS EFAULT
#define ERROR_IO_PENDING EINPROGRESS
#define ERROR_NETWORK_UNREACHABLE ENETUNREACH
#define ERROR_HOST_UNREACHABLE EHOSTUNREACH
#define ERROR_CONNECTION_REFUSED ECONNREFUSED
#define ERROR_CONNECTION_ABORTED ECONNABORTED

/* Numbers that no POSIX error has: the conventional ones, or, where a POSIX error has that number, 0x10000
 * more. No call of the library reports those in the second group, so that a comparison with them is false. */
#define ERROR_ENVVAR_NOT_FOUND 203
#define ERROR_MR_MID_NOT_FOUND 317
#define ERROR_NOT_FOUND 1168
#define ERROR_NO_MORE_FILES 0x10012
#define ERROR_INVALID_BLOCK 0x10009
#define ERROR_BAD_COMMAND 0x10016
#define ERROR_BAD_LENGTH 0x10018
#define ERROR_BAD_NETPATH 0x10035
#define ERROR_NOT_LOCKED 158
#define ERROR_DELETE_PENDING 303
#define ERROR_IO_INCOMPLETE 996
#define ERROR_FILE_INVALID 1006
#define ERROR_BAD_DEVICE 1200
#define ERROR_USER_MAPPED_FILE 1224
#define ERROR_INVALID_FLAGS 1004
#define ERROR_DLL_INIT_FAILED 1114
#define ERROR_NOT_OWNER 288
#define ERROR_TOO_MANY_POSTS 298
#define ERROR_SERVICE_DOES_NOT_EXIST 1060
#define ERROR_NO_UNICODE_TRANSLATION 1113

/* COM style results. */
#define S_OK KALTO_CAST(HRESULT, 0)
#define S_FALSE KALTO_CAST(HRESULT, 1)
#define E_NOTIMPL KALTO_CAST(HRESULT, 0x80004001u)
#define E_POINTER KALTO_CAST(HRESULT, 0x80004003u)
#define E_FAIL KALTO_CAST(HRESULT, 0x80004005u)
#define E_UNEXPECTED KALTO_CAST(HRESULT, 0x8000FFFFu)
#define E_ACCESSDENIED KALTO_CAST(HRESULT, 0x80070005u)
#define E_OUTOFMEMORY KALTO_CAST(HRESULT, 0x8007000Eu)
#define E_INVALIDARG KALTO_CAST(HRESULT, 0x80070057u)
#define E_NOINTERFACE KALTO_CAST(HRESULT, 0x80004002u)
#define E_ABORT KALTO_CAST(HRESULT, 0x80004004u)
#define E_HANDLE KALTO_CAST(HRESULT, 0x80070006u)
#define E_PENDING KALTO_CAST(HRESULT, 0x8000000Au)
#define NOERROR 0
#define SEVERITY_SUCCESS 0
#define SEVERITY_ERROR 1
#define FACILITY_NULL 0
#define FACILITY_WIN32 7
#define MAKE_HRESULT(severity, facility, code)                                                               \
    KALTO_CAST(HRESULT, (KALTO_CAST(ULONG, severity) << 31) | (KALTO_CAST(ULONG, facility) << 16) |          \
                            KALTO_CAST(ULONG, code))
#define HRESULT_CODE(result) ((result)&0xFFFF)
#define HRESULT_FACILITY(result) (((result) >> 16) & 0x1FFF)
#define HRESULT_SEVERITY(result) (((result) >> 31) & 1)
/* 0 and what is a result already are left as they are. */
#define HRESULT_FROM_WIN32(error)                                                                            \
    (KALTO_CAST(HRESULT, error) <= 0                                                                         \
         ? KALTO_CAST(HRESULT, error)                                                                        \
         : MAKE_HRESULT(SEVERITY_ERROR, FACILITY_WIN32, KALTO_CAST(ULONG, error) & 0xFFFFu))
#define SUCCEEDED(result) (KALTO_CAST(HRESULT, (result)) >= 0)
#define FAILED(result) (KALTO_CAST(HRESULT, (result)) < 0)

#endif
