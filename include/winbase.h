/* Processes, threads, files, modules, time and strings: the base calls. */
#ifndef KALTO_WINBASE_H
#define KALTO_WINBASE_H

#include <kalto/core.h>
#include <kalto/errors.h>
#include <kalto/fs.h>
#include <kalto/kernel.h>
#include <kalto/porting.h>
#include <kalto/system.h>
#include <kalto/text.h>
#include <kalto/types.h>

#endif
