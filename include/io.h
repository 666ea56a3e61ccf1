/* Files by descriptor, by the names of the run-time library. */
#ifndef KALTO_IO_H
#define KALTO_IO_H

#include <fcntl.h>
#include <kalto/porting.h>
#include <sys/stat.h>
#include <unistd.h>

#define _open open
#define _close close
#define _read read
#define _write write
#define _lseek lseek
#define _access access
#define _unlink unlink
#define _dup dup
#define _dup2 dup2
#define _isatty isatty
#define _fileno fileno
#define _O_RDONLY O_RDONLY
#define _O_WRONLY O_WRONLY
#define _O_RDWR O_RDWR
#define _O_APPEND O_APPEND
#define _O_CREAT O_CREAT
#define _O_TRUNC O_TRUNC
#define _O_EXCL O_EXCL
/* Text is stored as it is: there is one mode. */
#define _O_BINARY 0
#define _O_TEXT 0
#ifndef O_BINARY
#define O_BINARY _O_BINARY
#define O_TEXT _O_TEXT
#endif
#define _S_IREAD S_IRUSR
#define _S_IWRITE S_IWUSR

#endif
