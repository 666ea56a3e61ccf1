// Text and numbers onto a descriptor with nothing but write(2): what a signal handler may use.
#ifndef KALTO_CORE_REPORT_STREAM_H
#define KALTO_CORE_REPORT_STREAM_H

#include <cstddef>

namespace kalto {

// Collects up to a buffer of output and writes it when full, on flush() and at its end. The buffer is small
// because the stack it lives on may be a signal stack.
class ReportStream {
  public:
    explicit ReportStream(int descriptor) : descriptor_(descriptor) {}
    ReportStream(const ReportStream&) = delete;
    ReportStream& operator=(const ReportStream&) = delete;
    ~ReportStream() { flush(); }

    ReportStream& text(const char* text); // as %s, null included
    ReportStream& decimal(long value, unsigned width = 0, char fill = ' ');
    ReportStream& hex(unsigned long value, unsigned width = 0); // zero-filled
    ReportStream& pointer(const void* address);                 // as %p
    void flush();

  private:
    void put(char character);
    void number(unsigned long magnitude, unsigned base, unsigned width, char fill);

    int descriptor_;
    size_t used_ = 0; // buffer_[0, used_) waits to be written
    char buffer_[192];
};

} // namespace kalto

#endif
