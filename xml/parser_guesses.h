// What the parser tries first, because it is nearly always right.
#ifndef KALTO_XML_PARSER_GUESSES_H
#define KALTO_XML_PARSER_GUESSES_H

#include "xml/scanner.h"
#include <cstdint>
#include <cstring>

namespace kalto {

// A short text, to be recognised when it comes again. Sixteen bytes are looked at.
class Repeated {
  public:
    static constexpr size_t kMaxLength = 16;
    // What stands for nothing remembered: a text that the caller recognises rightly, or never meets.
    constexpr explicit Repeated(char text) : bytes_{static_cast<unsigned char>(text), 0} {}
    size_t length() const { return length_; }
    bool stands_at(const char* p) const {
        std::uint64_t there[2];
        std::memcpy(there, p, sizeof there);
        return (((there[0] ^ bytes_[0]) & mask_[0]) | ((there[1] ^ bytes_[1]) & mask_[1])) == 0;
    }
    // Too long a text leaves what was remembered.
    void remember(const char* p, size_t length) {
        if (length > kMaxLength)
            return;
        std::memcpy(bytes_, p, sizeof bytes_);
        length_ = length;
        mask_[0] = length >= 8 ? ~std::uint64_t{0} : (std::uint64_t{1} << (8 * length)) - 1;
        mask_[1] = length <= 8            ? 0
                   : length == kMaxLength ? ~std::uint64_t{0}
                                          : (std::uint64_t{1} << (8 * (length - 8))) - 1;
    }

  private:
    std::uint64_t bytes_[2];
    std::uint64_t mask_[2] = {0xFF, 0};
    size_t length_ = 1;
};

// An attribute from its name to the double quote before its value.
class Opening {
  public:
    bool stands_at(const char* p) const { return text_.stands_at(p); }
    // Ends the name; returns the start of the value.
    char* pass(char* p) const {
        p[name_length_] = '\0';
        return p + text_.length();
    }
    // The name has been ended: behind_name stood there.
    void remember(const char* begin, const char* name_end, char behind_name, const char* value) {
        const auto length = static_cast<size_t>(value - begin);
        if (length > Repeated::kMaxLength)
            return;
        char text[Repeated::kMaxLength];
        std::memcpy(text, begin, sizeof text);
        name_length_ = static_cast<size_t>(name_end - begin);
        text[name_length_] = behind_name;
        text_.remember(text, length);
    }

  private:
    Repeated text_{'\x01'}; // a blank: no name begins with it
    size_t name_length_ = 0;
};

struct NameEnds {
    bool ends[256] = {};
    constexpr NameEnds() {
        for (unsigned byte = 0; byte < 256; ++byte)
            ends[byte] = ends_name(static_cast<char>(byte));
    }
    constexpr bool operator[](unsigned char byte) const { return ends[byte]; }
};
inline constexpr NameEnds kEndsName;

} // namespace kalto

#endif
