/* Control codes. DeviceIoControl and KernelIoControl look at none of them. */
#ifndef KALTO_WINIOCTL_H
#define KALTO_WINIOCTL_H

#include <kalto/types.h>

#ifndef CTL_CODE
#define CTL_CODE(device, function, method, access)                                                           \
    ((device)*0x10000u | (access)*0x4000u | (function)*4u | (method))
#endif
#define DEVICE_TYPE_FROM_CTL_CODE(code) (((code)&0xFFFF0000u) >> 16)
#define METHOD_BUFFERED 0
#define METHOD_IN_DIRECT 1
#define METHOD_OUT_DIRECT 2
#define METHOD_NEITHER 3
#define FILE_ANY_ACCESS 0
#define FILE_READ_ACCESS 1
#define FILE_WRITE_ACCESS 2
#define FILE_DEVICE_DISK 0x00000007
#define FILE_DEVICE_FILE_SYSTEM 0x00000009
#define FILE_DEVICE_NETWORK 0x00000012
#define FILE_DEVICE_SERIAL_PORT 0x0000001B
#define FILE_DEVICE_UNKNOWN 0x00000022
#define FILE_DEVICE_HAL 0x00000101
#define FILE_DEVICE_CONSOLE 0x00000102
#define FILE_DEVICE_POWER 0x00000105

#endif
