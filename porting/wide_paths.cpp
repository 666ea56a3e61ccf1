// The C library's calls on names of files, for wide names.
#include "text/convert.h"

#include <cstdio>
#include <kalto/porting.h>
#include <sys/stat.h>
#include <unistd.h>

// -1 with errno for a name that the locale cannot express.
template <typename Call> static int with_path(const WCHAR* path, Call call) {
    std::string narrow;
    return path != nullptr && kalto::to_path(path, narrow) ? call(narrow.c_str()) : -1;
}

int _wremove(const WCHAR* path) {
    return with_path(path, remove);
}

int _wunlink(const WCHAR* path) {
    return with_path(path, unlink);
}

int _wrmdir(const WCHAR* path) {
    return with_path(path, rmdir);
}

int _wchdir(const WCHAR* path) {
    return with_path(path, chdir);
}

int _wmkdir(const WCHAR* path) {
    constexpr mode_t kAll = 0777;
    return with_path(path, [](const char* narrow) { return mkdir(narrow, kAll); });
}

int _waccess(const WCHAR* path, int mode) {
    return with_path(path, [mode](const char* narrow) { return access(narrow, mode); });
}

int _wrename(const WCHAR* from, const WCHAR* to) {
    std::string narrow;
    if (to == nullptr || !kalto::to_path(to, narrow))
        return -1;
    return with_path(from, [&narrow](const char* old) { return rename(old, narrow.c_str()); });
}
