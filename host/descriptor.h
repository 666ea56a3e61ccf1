#ifndef KALTO_HOST_DESCRIPTOR_H
#define KALTO_HOST_DESCRIPTOR_H

#include <cerrno>
#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

namespace kalto {

// Owns an open file. A thread may be terminated inside close, so the destructor lets that pass.
class Descriptor {
  public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() noexcept(false) {
        if (number_ >= 0)
            ::close(number_);
    }

    int get() const { return number_; } // negative when there is none
    int release() {
        int number = number_;
        number_ = -1;
        return number;
    }
    // 0, or the error that the system kept until now. The descriptor is gone in either case.
    int close() { return ::close(release()) == 0 || errno == EINTR ? 0 : errno; }

  private:
    int number_;
};

// open, which an interruption does not end.
inline int open_file(const char* path, int flags, mode_t mode = 0) {
    int descriptor;
    do
        descriptor = open64(path, flags, mode);
    while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

} // namespace kalto

#endif
