// Reading and writing of descriptors.
#include "host/transfer.h"

#include <cerrno>
#include <unistd.h>

namespace kalto {

constexpr size_t kLargestPiece = 1 << 30; // the system transfers no more than a little under 2 GB at once

static size_t next_piece(size_t left) {
    return left < kLargestPiece ? left : kLargestPiece;
}

int read_some(int descriptor, void* buffer, size_t size, size_t* done) {
    size_t total = 0;
    int error = 0;
    while (total < size) {
        size_t piece = next_piece(size - total);
        ssize_t got = read(descriptor, static_cast<char*>(buffer) + total, piece);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0) {
            error = total > 0 ? 0 : errno; // what has been read counts; the next call meets the error again
            break;
        }
        total += static_cast<size_t>(got);
        if (static_cast<size_t>(got) < piece)
            break;
    }
    *done += total;
    return error;
}

int write_all(int descriptor, const void* data, size_t size, size_t* done) {
    size_t total = 0;
    int error = 0;
    while (total < size && error == 0) {
        ssize_t put = write(descriptor, static_cast<const char*>(data) + total, next_piece(size - total));
        if (put > 0)
            total += static_cast<size_t>(put);
        else if (put == 0)
            error = EIO;
        else if (errno != EINTR)
            error = errno;
    }
    *done += total;
    return error;
}

} // namespace kalto
