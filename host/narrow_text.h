#ifndef KALTO_HOST_NARROW_TEXT_H
#define KALTO_HOST_NARROW_TEXT_H

#include <cstddef>

namespace kalto {

// A wide text in the encoding of the current locale, the whole of it, from malloc. Without a text when the
// wide text is null or holds a null character (errno EINVAL), when the locale cannot express it (EILSEQ), or
// without memory (ENOMEM).
class NarrowText {
  public:
    enum class Backslashes { kKept, kTurned };

    NarrowText(const wchar_t* wide, size_t length, Backslashes backslashes);
    NarrowText(const NarrowText&) = delete;
    NarrowText& operator=(const NarrowText&) = delete;
    ~NarrowText();

    const char* get() const { return text_; } // null when there is none
    char* release();                          // the caller frees it

  private:
    char* text_ = nullptr;
};

// A path as the system wants it, every backslash a slash.
class NarrowPath : public NarrowText {
  public:
    explicit NarrowPath(const wchar_t* wide);
};

} // namespace kalto

#endif
