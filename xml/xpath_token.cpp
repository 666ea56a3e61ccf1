// Reading the tokens of selection expressions.
#include "xml/xpath_token.h"

#include <kalto/xpath.h>

#include <new>

const char WHITESPACE[33] =
    "\1\2\3\4\5\6\7\10\11\12\13\14\15\16\17\20\21\22\23\24\25\26\27\30\31\32\33\34\35\36\37 ";

namespace kalto {
namespace {

// In the order of testing: a longer word stands before its own beginning.
constexpr ReservedWord kReservedWords[] = {{"ancestor-or-self::", 18, kTokenAncestorOrSelf},
                                           {"ancestor::", 10, kTokenAncestor},
                                           {"//", 2, kTokenDoubleSlash},
                                           {"descendant::", 12, kTokenDescendant},
                                           {"preceding-sibling::", 19, kTokenPrecedingSibling},
                                           {"preceding::", 11, kTokenPreceding},
                                           {"following-sibling::", 19, kTokenFollowingSibling},
                                           {"following::", 11, kTokenFollowing},
                                           {"parent::", 8, kTokenParentAxis},
                                           {"..", 2, kTokenParent},
                                           {".", 1, kTokenSelf},
                                           {"=", 1, kTokenEqual},
                                           {"!=", 2, kTokenNotEqual},
                                           {"::", 2, kTokenDoubleColon},
                                           {"[", 1, kTokenBracket},
                                           {"@", 1, kTokenAt},
                                           {"*", 1, kTokenAny}};

} // namespace

const ReservedWord* find_reserved_word(const char* at, const char* end) {
    for (const ReservedWord& word : kReservedWords) {
        if (*at == *word.text && end - at >= word.length &&
            memcmp(at, word.text, static_cast<size_t>(word.length)) == 0)
            return &word;
    }
    return nullptr;
}

namespace {

// ASCII alone, whatever the locale: the parser of documents cuts names at every other byte.
bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

bool begins_name(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == ':' || c == '_';
}

bool continues_name(char c) {
    return begins_name(c) || is_digit(c) || c == '.' || c == '-';
}

bool ends_name(char c) {
    return c == '(' || c == '[' || c == ']' || c == '!' || c == '=';
}

XPathError read_literal(const char* at, const char* end, Token& token) {
    const void* quote = memchr(at + 1, *at, static_cast<size_t>(end - at - 1));
    if (!quote)
        return kXPathMalformed;
    token.kind = kTokenLiteral;
    token.begin = at + 1;
    token.end = static_cast<const char*>(quote);
    token.rest = token.end + 1;
    return kXPathNoError;
}

} // namespace

XPathError read_token(const char* at, const char* end, Token& token) {
    if (at == end)
        return kXPathMalformed;
    if (*at == '"' || *at == '\'')
        return read_literal(at, end, token);
    const char* stop = at;
    if (begins_name(*at)) {
        token.kind = kTokenName;
        while (stop < end && continues_name(*stop))
            ++stop;
        if (stop < end && !ends_name(*stop))
            return kXPathBadCharacter;
    } else {
        token.kind = kTokenNumber;
        while (stop < end && is_digit(*stop))
            ++stop;
        if (stop == at || (stop < end && *stop != ']'))
            return kXPathBadCharacter;
    }
    token.begin = at;
    token.end = token.rest = stop;
    return kXPathNoError;
}

char* copy_of(const Token& token) {
    const size_t length = static_cast<size_t>(token.end - token.begin);
    char* copy = new (std::nothrow) char[length + 1];
    if (copy) {
        memcpy(copy, token.begin, length);
        copy[length] = '\0';
    }
    return copy;
}

// A number that does not fit stays at the largest index.
int32_t number_of(const Token& token) {
    int32_t number = 0;
    for (const char* at = token.begin; at < token.end; ++at) {
        const int32_t digit = *at - '0';
        if (number > (INT32_MAX - digit) / 10)
            return INT32_MAX;
        number = number * 10 + digit;
    }
    return number;
}

} // namespace kalto
