#include "porting/message_format.h"

#include <cwchar>
#include <cwctype>

namespace kalto {

namespace {

constexpr unsigned kLastInsert = 99;

bool is_digit(WCHAR character) {
    return character >= L'0' && character <= L'9';
}

// The formatted word. printf's own way of %s is turned round: text is wide unless an h or a capital says
// otherwise.
class Place {
  public:
    Place(const WCHAR* begin, const WCHAR* end) : at_(begin), end_(end) {}

    // False when it is no format for one insert. The first star and the second take the words after the
    // insert's.
    bool append(unsigned number, Inserts& inserts, std::wstring& out) {
        format_ = L'%';
        take(L"-+ #0");
        take_number(number, inserts);
        if (at_ != end_ && *at_ == L'.') {
            format_ += *at_++;
            take_number(number, inserts);
        }
        const bool narrow = at_ != end_ && *at_ == L'h';
        const bool wide = at_ != end_ && (*at_ == L'l' || *at_ == L'w');
        while (at_ != end_ && wcschr(L"hlwI643", *at_) != nullptr)
            ++at_;
        return end_ - at_ == 1 && number <= kLastInsert &&
               append_word(inserts.word(number), narrow, wide, out);
    }

  private:
    void take(const WCHAR* set) {
        while (at_ != end_ && wcschr(set, *at_) != nullptr)
            format_ += *at_++;
    }
    void take_number(unsigned& number, Inserts& inserts) {
        if (at_ != end_ && *at_ == L'*') {
            format_ += std::to_wstring(static_cast<int>(inserts.word(number++)));
            ++at_;
        }
        take(L"0123456789");
    }
    bool append_word(ULONG_PTR word, bool narrow, bool wide, std::wstring& out) {
        switch (*at_) {
        case L's':
        case L'S':
            if (narrow || (*at_ == L'S' && !wide))
                return print(L"s", text(reinterpret_cast<const char*>(word)), out);
            return print(L"ls", text(reinterpret_cast<const WCHAR*>(word)), out);
        case L'c':
        case L'C':
            return print(L"lc", static_cast<wint_t>(word), out);
        case L'd':
        case L'i':
            return print(L"d", static_cast<int>(word), out);
        case L'u':
        case L'o':
        case L'x':
        case L'X':
            return print(std::wstring(1, *at_).c_str(), static_cast<unsigned>(word), out);
        case L'p':
            return print(L"p", reinterpret_cast<void*>(word), out);
        default:
            return false;
        }
    }
    static const char* text(const char* given) { return given != nullptr ? given : "(null)"; }
    static const WCHAR* text(const WCHAR* given) { return given != nullptr ? given : L"(null)"; }
    template <typename Value> bool print(const WCHAR* conversion, Value value, std::wstring& out) {
        constexpr size_t kMost = size_t{1} << 20; // what is longer is no message
        format_ += conversion;
        for (size_t room = 128; room <= kMost; room *= 8) {
            std::wstring text(room, L'\0');
            const int length = swprintf(&text[0], room, format_.c_str(), value);
            if (length < 0)
                continue;
            out.append(text, 0, static_cast<size_t>(length));
            return true;
        }
        return false;
    }

    const WCHAR* at_;
    const WCHAR* end_;
    std::wstring format_;
};

// The place behind an insert (%1 or %1!format!), or null.
const WCHAR* append_insert(const WCHAR* digits, Inserts& inserts, std::wstring& out) {
    unsigned number = 0;
    const WCHAR* at = digits;
    while (at - digits < 2 && is_digit(*at))
        number = number * 10 + static_cast<unsigned>(*at++ - L'0');
    const WCHAR* const end = *at == L'!' ? wcschr(at + 1, L'!') : nullptr;
    static constexpr WCHAR kText[] = L"s";
    Place place = end != nullptr ? Place(at + 1, end) : Place(kText, kText + 1);
    if (!inserts.given() || !place.append(number, inserts, out))
        return nullptr;
    return end != nullptr ? end + 1 : at;
}

WCHAR escaped(WCHAR character) {
    switch (character) {
    case L'r':
        return L'\r';
    case L't':
        return L'\t';
    default:
        return character; // a blank, a percent sign, ...
    }
}

} // namespace

ULONG_PTR Inserts::word(unsigned number) {
    if (is_array_)
        return reinterpret_cast<const ULONG_PTR*>(list_)[number - 1];
    while (read_.size() < number)
        read_.push_back(va_arg(*list_, ULONG_PTR));
    return read_[number - 1];
}

bool fill_message(const WCHAR* message, Inserts& inserts, std::wstring& out) {
    for (const WCHAR* at = message; *at != L'\0';) {
        if (*at == L'\r' || *at == L'\n') {
            at += at[0] == L'\r' && at[1] == L'\n' ? 2 : 1;
            out += L"\r\n";
        } else if (*at != L'%' || at[1] == L'\0') {
            out += *at++;
        } else if (at[1] == L'0') {
            return true;
        } else if (is_digit(at[1])) {
            at = append_insert(at + 1, inserts, out);
            if (at == nullptr)
                return false;
        } else {
            out += at[1] == L'n' ? std::wstring(L"\r\n") : std::wstring(1, escaped(at[1]));
            at += 2;
        }
    }
    return true;
}

} // namespace kalto
