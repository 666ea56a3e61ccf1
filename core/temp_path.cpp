// The library's one static initialiser.
#include <kalto/core.h>

std::string g_tmpPath = "/tmp/";
