#ifndef KALTO_TEXT_H
#define KALTO_TEXT_H

#include <kalto/types.h>

#endif
