/* The registry. */
#ifndef KALTO_WINREG_H
#define KALTO_WINREG_H

#include <kalto/errors.h>
#include <kalto/registry.h>
#include <kalto/types.h>

#endif
