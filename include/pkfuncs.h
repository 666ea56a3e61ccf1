/* Device queries through KernelIoControl. */
#ifndef KALTO_PKFUNCS_H
#define KALTO_PKFUNCS_H

#include <kalto/system.h>
#include <kalto/types.h>
#include <winioctl.h>

/* Control codes that applications give to KernelIoControl, which looks at none of them: every code asks for
 * the parameter that the input buffer selects. */
#define IOCTL_HAL_GET_UUID CTL_CODE(FILE_DEVICE_HAL, 13, METHOD_BUFFERED, FILE_ANY_ACCESS)
#define IOCTL_HAL_GET_DEVICEID CTL_CODE(FILE_DEVICE_HAL, 21, METHOD_BUFFERED, FILE_ANY_ACCESS)

#endif
