// See report_stream.h. Nothing here allocates, locks or touches stdio.
#include "core/report_stream.h"

#include <cerrno>
#include <cstdint>
#include <poll.h>
#include <unistd.h>

namespace kalto {

// Goes on after an interruption and waits for a descriptor that is not ready; any other failure ends the
// output, because there is nobody left to tell.
static void write_all(int descriptor, const char* data, size_t size) {
    while (size > 0) {
        ssize_t written = write(descriptor, data, size);
        if (written > 0) {
            data += written;
            size -= static_cast<size_t>(written);
        } else if (written < 0 && errno == EAGAIN) {
            pollfd ready = {descriptor, POLLOUT, 0};
            if (poll(&ready, 1, -1) < 0 && errno != EINTR)
                return;
        } else if (written == 0 || errno != EINTR) {
            return;
        }
    }
}

void ReportStream::flush() {
    write_all(descriptor_, buffer_, used_);
    used_ = 0;
}

void ReportStream::put(char character) {
    if (used_ == sizeof buffer_)
        flush();
    buffer_[used_++] = character;
}

ReportStream& ReportStream::text(const char* text) {
    for (text = text != nullptr ? text : "(null)"; *text != '\0'; text++)
        put(*text);
    return *this;
}

void ReportStream::number(unsigned long magnitude, unsigned base, unsigned width, char fill) {
    char digits[24];
    unsigned count = 0;
    do {
        digits[count++] = "0123456789abcdef"[magnitude % base];
        magnitude /= base;
    } while (magnitude != 0);
    for (unsigned i = count; i < width; i++)
        put(fill);
    while (count > 0)
        put(digits[--count]);
}

ReportStream& ReportStream::decimal(long value, unsigned width, char fill) {
    if (value < 0)
        put('-');
    unsigned long bits = static_cast<unsigned long>(value);
    number(value < 0 ? 0 - bits : bits, 10, width, fill);
    return *this;
}

ReportStream& ReportStream::hex(unsigned long value, unsigned width) {
    number(value, 16, width, '0');
    return *this;
}

ReportStream& ReportStream::pointer(const void* address) {
    if (address == nullptr)
        return text("(nil)");
    return text("0x").hex(reinterpret_cast<uintptr_t>(address));
}

} // namespace kalto
