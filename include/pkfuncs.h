/* Device queries through KernelIoControl. */
#ifndef KALTO_PKFUNCS_H
#define KALTO_PKFUNCS_H

#include <kalto/system.h>
#include <kalto/types.h>

/* Control codes that applications give to KernelIoControl, which looks at none of them: every code asks for
 * the parameter that the input buffer selects. */
#ifndef CTL_CODE
#define CTL_CODE(device, function, method, access)                                                           \
    ((device)*0x10000u | (access)*0x4000u | (function)*4u | (method))
#endif
#define FILE_DEVICE_HAL 0x00000101
#define METHOD_BUFFERED 0
#define FILE_ANY_ACCESS 0
#define IOCTL_HAL_GET_UUID CTL_CODE(FILE_DEVICE_HAL, 13, METHOD_BUFFERED, FILE_ANY_ACCESS)
#define IOCTL_HAL_GET_DEVICEID CTL_CODE(FILE_DEVICE_HAL, 21, METHOD_BUFFERED, FILE_ANY_ACCESS)

#endif
