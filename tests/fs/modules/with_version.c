/* A module that exports its version. */
#include <stdint.h>
__attribute__((visibility("default"))) const int32_t __lib_ver[4] = {1, 2, 3, 4};
