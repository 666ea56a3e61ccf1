/* A module whose version says nothing. */
#include <stdint.h>
__attribute__((visibility("default"))) const int32_t __lib_ver[4] = {0, 0, 0, 0};
