/* Directories, by the names of the run-time library. */
#ifndef KALTO_DIRECT_H
#define KALTO_DIRECT_H

#include <kalto/porting.h>
#include <sys/stat.h>
#include <unistd.h>

#define _mkdir(path) mkdir((path), 0777)
#define _rmdir rmdir
#define _chdir chdir
#define _getcwd getcwd

#endif
