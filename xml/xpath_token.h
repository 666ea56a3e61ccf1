// The numbers of the selection engine (axes, token kinds and error codes: records carry them, so they never
// change) and the reading of single tokens.
#ifndef KALTO_XML_XPATH_TOKEN_H
#define KALTO_XML_XPATH_TOKEN_H

#include <cstdint>

namespace kalto {

enum XPathAxis : int32_t {
    kAxisAncestor = 0,
    kAxisAncestorOrSelf = 1,
    kAxisAttribute = 2,
    kAxisChild = 3,
    kAxisDescendant = 4,
    kAxisDescendantOrSelf = 5,
    kAxisFollowingSibling = 7,
    kAxisParent = 9,
    kAxisPrecedingSibling = 11,
    kAxisSelf = 12
};

enum XPathToken : int32_t {
    kTokenNone = 0,
    kTokenAny = 1,
    kTokenAncestor = 2,
    kTokenAncestorOrSelf = 3,
    kTokenAt = 6,
    kTokenSelf = 11,
    kTokenDescendant = 14,
    kTokenDoubleSlash = 15,
    kTokenEmptyStep = 16,
    kTokenEqual = 20,
    kTokenFollowing = 21,
    kTokenFollowingSibling = 22,
    kTokenName = 25,
    kTokenDoubleColon = 31,
    kTokenNotEqual = 32,
    kTokenNumber = 33,
    kTokenBracket = 36,
    kTokenParentAxis = 37,
    kTokenParent = 38,
    kTokenPreceding = 39,
    kTokenPrecedingSibling = 40,
    kTokenLiteral = 47,
    kTokenEnd = 52
};

enum XPathError : int32_t {
    kXPathNoError = 0,
    kXPathBadCharacter = 1,
    kXPathMalformed = 3, // also: memory ran out
    kXPathNoMatch = 4,
    kXPathUnsupported = 5
};

constexpr int kPredicatePushed = 10; // the result of tokenizePredicate

struct ReservedWord {
    const char* text;
    int length;
    XPathToken kind;
};

// The reserved word that the text from at to end starts with, or null. The byte at at must be readable.
const ReservedWord* find_reserved_word(const char* at, const char* end);

// What stands at the start of a text where a name, a number or a literal is due.
struct Token {
    XPathToken kind = kTokenNone;
    const char* begin = nullptr; // of its characters, without quotes
    const char* end = nullptr;
    const char* rest = nullptr; // what follows it
};

// Reads the token at the start of the text. On an error the kind says what the token began as, if anything.
XPathError read_token(const char* at, const char* end, Token& token);
// The characters of a token as a new array, or null when memory runs out.
char* copy_of(const Token& token);
// The value of a number; one that does not fit stays at the largest.
int32_t number_of(const Token& token);

} // namespace kalto

#endif
