// Reading the .reg text form.
#include "tools/reg_text.h"

#include <cwchar>
#include <cwctype>

namespace kaltoreg {
namespace {

class Parser {
  public:
    Parser(const std::wstring& text, std::vector<Change>& changes) : text_(text), changes_(changes) {}

    // Empty when the text is understood, else what is wrong at line().
    std::string parse();
    int line() const { return line_; }

  private:
    bool at_end() const { return next_ >= text_.size(); }
    wchar_t peek() const { return at_end() ? L'\0' : text_[next_]; }
    wchar_t take();
    bool skip(const wchar_t* word);
    void skip_blanks();
    bool end_of_line();
    std::wstring rest_of_line();

    std::string key_line();
    std::string value_line();
    bool quoted(std::wstring& out);
    std::string data(Change& change);
    std::string number(Value& value);
    std::string bytes(unsigned type, Value& value);
    bool byte_list(std::string& out);

    const std::wstring& text_;
    std::vector<Change>& changes_;
    size_t next_ = 0;
    int line_ = 1;
    KeyName key_;
    bool key_is_open_ = false;
};

wchar_t Parser::take() {
    const wchar_t c = peek();
    ++next_;
    if (c == L'\n')
        ++line_;
    return c;
}

bool Parser::skip(const wchar_t* word) {
    const size_t length = wcslen(word);
    if (wcsncasecmp(text_.c_str() + next_, word, length) != 0)
        return false;
    next_ += length;
    return true;
}

void Parser::skip_blanks() {
    while (peek() == L' ' || peek() == L'\t' || peek() == L'\r')
        take();
}

bool Parser::end_of_line() {
    skip_blanks();
    if (peek() == L';')
        rest_of_line();
    if (at_end())
        return true;
    return peek() == L'\n' && take() != L'\0';
}

// Without the line's end, which stays.
std::wstring Parser::rest_of_line() {
    std::wstring rest;
    while (!at_end() && peek() != L'\n')
        rest += take();
    while (!rest.empty() && iswspace(static_cast<wint_t>(rest.back())) != 0)
        rest.pop_back();
    return rest;
}

std::string Parser::parse() {
    while (!at_end() && end_of_line()) {
    }
    const std::wstring header = rest_of_line();
    if (header != kHeader && header != kOldHeader)
        return "this is not .reg text: the header is missing";
    std::string wrong;
    while (wrong.empty()) {
        if (!end_of_line())
            return "something follows that does not belong here";
        while (!at_end() && end_of_line()) {
        }
        if (at_end())
            break;
        wrong = peek() == L'[' ? key_line() : value_line();
    }
    return wrong;
}

// Key names may hold brackets, so the last one of the line ends the name.
std::string Parser::key_line() {
    take();
    const bool deletes = peek() == L'-';
    if (deletes)
        take();
    const std::wstring rest = rest_of_line();
    const size_t end = rest.rfind(L']');
    if (end == std::wstring::npos)
        return "']' is missing";
    if (!parse_key(rest.substr(0, end), key_))
        return "the key does not begin with a known root";
    if (deletes && key_.path.empty())
        return "a root cannot be deleted";
    key_is_open_ = !deletes;
    changes_.push_back({deletes ? Change::kDeleteKey : Change::kCreateKey, key_, {}, line_});
    return "";
}

std::string Parser::value_line() {
    Change change{Change::kSetValue, key_, {}, line_};
    if (!key_is_open_)
        return "a value without a key";
    if (peek() == L'@') {
        take();
        change.value.name = kUnnamed;
    } else if (!quoted(change.value.name)) {
        return "a value's name in quotes, @, or a key is expected";
    }
    skip_blanks();
    if (take() != L'=')
        return "'=' is missing";
    skip_blanks();
    std::string wrong = data(change);
    if (wrong.empty())
        changes_.push_back(std::move(change));
    return wrong;
}

bool Parser::quoted(std::wstring& out) {
    if (peek() != L'"')
        return false;
    take();
    out.clear();
    while (!at_end() && peek() != L'"') {
        if (peek() == L'\\')
            take();
        out += take();
    }
    return take() == L'"';
}

std::string Parser::data(Change& change) {
    if (skip(L"-")) {
        change.kind = Change::kDeleteValue;
        return "";
    }
    if (peek() == L'"') {
        std::wstring text;
        if (!quoted(text))
            return "the closing quote is missing";
        set_string(change.value, text);
        return "";
    }
    if (skip(L"dword:"))
        return number(change.value);
    if (skip(L"hex:"))
        return bytes(REG_BINARY, change.value);
    if (skip(L"hex(")) {
        wchar_t* end = nullptr;
        const unsigned long type = wcstoul(text_.c_str() + next_, &end, 16);
        next_ = static_cast<size_t>(end - text_.c_str());
        if (!skip(L"):"))
            return "'):' is missing";
        return bytes(static_cast<unsigned>(type), change.value);
    }
    return "a string in quotes, dword:, hex: or - is expected";
}

std::string Parser::number(Value& value) {
    DWORD number = 0;
    int digits = 0;
    for (; iswxdigit(static_cast<wint_t>(peek())) != 0; ++digits) {
        const wchar_t digit[] = {take(), L'\0'};
        number = number * 16 + static_cast<DWORD>(wcstoul(digit, nullptr, 16));
    }
    set_number(value, number);
    return digits >= 1 && digits <= 8 ? "" : "dword: needs one to eight hexadecimal digits";
}

// A backslash at the end of a line goes on with the next one.
bool Parser::byte_list(std::string& out) {
    for (;;) {
        skip_blanks();
        if (peek() == L'\\') {
            take();
            skip_blanks();
            if (take() != L'\n')
                return false;
            continue;
        }
        if (iswxdigit(static_cast<wint_t>(peek())) == 0)
            return true;
        wchar_t digits[] = {take(), L'\0', L'\0'};
        if (iswxdigit(static_cast<wint_t>(peek())) != 0)
            digits[1] = take();
        out.push_back(static_cast<char>(wcstoul(digits, nullptr, 16)));
        skip_blanks();
        if (peek() != L',')
            return true;
        take();
    }
}

std::string Parser::bytes(unsigned type, Value& value) {
    std::string list;
    if (!byte_list(list))
        return "a backslash must end its line";
    value.type = type;
    std::wstring text;
    switch (type) {
    case REG_BINARY:
        value.data.assign(list.begin(), list.end());
        return "";
    case REG_DWORD:
        value.data.assign(list.begin(), list.end());
        return list.size() == sizeof(DWORD) ? "" : "hex(4): needs four bytes";
    case REG_SZ:
        if (!from_utf16_bytes(list, text))
            return "hex(1): is not UTF-16LE text";
        text.resize(wcslen(text.c_str())); // up to the terminator, as the registry keeps it
        set_string(value, text);
        return "";
    default:
        return "values of this type cannot be stored";
    }
}

} // namespace

bool parse_reg_text(const std::wstring& text, std::vector<Change>& changes, Complaint& complaint) {
    Parser parser(text, changes);
    complaint.what = parser.parse();
    complaint.line = parser.line();
    return complaint.what.empty();
}

} // namespace kaltoreg
