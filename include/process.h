/* Threads and the process, by the names of the run-time library. */
#ifndef KALTO_PROCESS_H
#define KALTO_PROCESS_H

#include <kalto/porting.h>
#include <stdlib.h>
#include <unistd.h>

#define _getpid getpid

#endif
