// Streams of the C library by Windows paths.
#include "host/refusal.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>

// In some encodings the second byte of a character looks like a backslash, so the path is walked by
// characters; a byte that starts none counts as one.
static void turn_backslashes(char* path) {
    mbstate_t state = {};
    for (size_t left = strlen(path); left > 0;) {
        size_t bytes = mbrlen(path, left, &state);
        if (bytes == 0 || bytes > left) {
            bytes = 1;
            state = {};
        }
        if (bytes == 1 && *path == '\\')
            *path = '/';
        path += bytes;
        left -= bytes;
    }
}

FILE* PTR_KaltoFopen(const char* path, const char* mode) {
    if (path == nullptr || mode == nullptr) {
        kalto::refuse(EINVAL);
        return nullptr;
    }
    char* slashed = strdup(path);
    FILE* stream = nullptr;
    if (slashed != nullptr) {
        turn_backslashes(slashed);
        stream = fopen64(slashed, mode);
    }
    if (stream == nullptr)
        kalto::refuse(errno);
    free(slashed);
    return stream;
}
