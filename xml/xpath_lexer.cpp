// The parsing half of the selection engine: from an expression to a list of records.
//
// An expression is cut at its slashes into fields first, and each field into pieces from left to right: a
// step, then the predicates behind it. A record waits (pending) from the slash that begins an absolute path,
// or from the start of a piece, until the piece completes it; then it is pushed.
#include <kalto/xpath.h>

#include "xml/xpath_token.h"

#include <new>

namespace kalto {
namespace {

XPathAxis axis_of(XPathToken word) {
    switch (word) {
    case kTokenAncestor:
        return kAxisAncestor;
    case kTokenAncestorOrSelf:
        return kAxisAncestorOrSelf;
    case kTokenDescendant:
        return kAxisDescendant;
    case kTokenFollowingSibling:
        return kAxisFollowingSibling;
    case kTokenPrecedingSibling:
        return kAxisPrecedingSibling;
    case kTokenParent:
        return kAxisParent;
    default:
        return kAxisDescendantOrSelf; // kTokenDoubleSlash
    }
}

// Parses for one call of the engine. A step that fails returns null with the engine's error set; otherwise it
// returns where the next piece begins.
class Parser {
  public:
    Parser(CVurlXpath& engine, XPathAction** pending) : m_engine(engine), m_pending(pending) {}

    // A slash where a field could begin. Deliberate: the first one of the whole expression makes the next
    // step that of an absolute path, even behind a step, so that a//b is a/b. Existing expressions count on
    // what they select.
    bool slash(bool after_slash) {
        if (!wait())
            return false;
        if (m_engine.m_bFirstStep) {
            m_engine.m_bFirstStep = 0;
            (*m_pending)->absolute = 1;
            return true;
        }
        (*m_pending)->axis = kAxisDescendantOrSelf;
        (*m_pending)->tokenKind = after_slash ? kTokenEmptyStep : m_engine.m_nTokenKind;
        return push();
    }

    bool field(const char* at, const char* end) {
        while (at && at < end)
            at = piece(at, end);
        // What an unsupported form left half done is kept with the records; only a malformed one is not.
        if (*m_pending && m_engine.m_nError != kXPathMalformed)
            push();
        return m_engine.m_nError == kXPathNoError;
    }

    // at is behind the opening bracket. The result is behind the closing one.
    const char* predicate(const char* at, const char* end);

    bool wait() {
        if (!*m_pending)
            *m_pending = new (std::nothrow) XPathAction;
        return *m_pending || fail(kXPathMalformed);
    }

  private:
    bool fail(XPathError error) {
        m_engine.m_nError = error;
        return false;
    }

    const char* stop(XPathError error) {
        fail(error);
        return nullptr;
    }

    bool push() {
        if (!m_engine.m_parseList.Push(*m_pending))
            return fail(kXPathMalformed);
        *m_pending = nullptr;
        return true;
    }

    // Stores a copy of the token, or fails.
    bool keep(const Token& token, char*& place) {
        delete[] place;
        place = copy_of(token);
        return place || fail(kXPathMalformed);
    }

    // A name, number or literal, its kind being the token last read.
    bool read(const char* at, const char* end, Token& token) {
        const XPathError error = read_token(at, end, token);
        if (token.kind != kTokenNone)
            m_engine.m_nTokenKind = token.kind;
        return error == kXPathNoError || fail(error);
    }

    const char* piece(const char* at, const char* end);
    const char* name(const char* at, const char* end, int32_t before);
    const char* attribute(const char* at, const char* end);
    const char* comparison(const char* at, const char* end);

    CVurlXpath& m_engine;
    XPathAction** const m_pending;
};

const char* Parser::piece(const char* at, const char* end) {
    const int32_t before = m_engine.m_nTokenKind;
    const ReservedWord* word = find_reserved_word(at, end);
    m_engine.m_nTokenKind = word ? word->kind : kTokenNone;
    if (!wait())
        return nullptr;
    (*m_pending)->tokenKind = m_engine.m_nTokenKind;
    if (!word)
        return name(at, end, before);
    at += word->length;
    switch (word->kind) {
    case kTokenAny:
        return push() ? at : nullptr;
    case kTokenAt:
        return attribute(at, end);
    case kTokenBracket:
        return predicate(at, end);
    case kTokenParent:
        (*m_pending)->index = 0;
        [[fallthrough]];
    case kTokenAncestor:
    case kTokenAncestorOrSelf:
    case kTokenDescendant:
    case kTokenFollowingSibling:
    case kTokenPrecedingSibling:
    case kTokenDoubleSlash:
        (*m_pending)->axis = axis_of(word->kind);
        if (!push())
            return nullptr;
        m_engine.m_parseList.Tail();
        return at;
    case kTokenFollowing:
    case kTokenPreceding:
        return stop(kXPathUnsupported);
    default:
        return stop(kXPathMalformed);
    }
}

// A piece that is no reserved word; before is the token in front of it.
const char* Parser::name(const char* at, const char* end, int32_t before) {
    Token token;
    if (!read(at, end, token))
        return nullptr;
    XPathAction& record = **m_pending;
    record.tokenKind = token.kind;
    switch (token.kind) {
    case kTokenNumber:
        record.index = number_of(token);
        break;
    case kTokenLiteral:
        if (before != kTokenEqual && before != kTokenNotEqual && before != kTokenBracket)
            return stop(kXPathMalformed);
        if (!keep(token, record.value))
            return nullptr;
        break;
    default:
        if (!keep(token, before == kTokenAt ? record.attributeName : record.name))
            return nullptr;
    }
    return push() ? token.rest : nullptr;
}

// The rest of an @name step: nothing may follow its name.
const char* Parser::attribute(const char* at, const char* end) {
    (*m_pending)->axis = kAxisAttribute;
    Token token;
    if (!read(at, end, token))
        return nullptr;
    if (token.kind != kTokenName || token.rest != end)
        return stop(kXPathMalformed);
    return keep(token, (*m_pending)->attributeName) ? end : nullptr;
}

const char* Parser::predicate(const char* at, const char* end) {
    if (!memchr(at, ']', static_cast<size_t>(end - at)))
        return stop(kXPathMalformed);
    XPathAction& record = **m_pending;
    record.axis = kAxisSelf;
    record.tokenKind = kTokenBracket;
    const ReservedWord* word = find_reserved_word(at, end);
    if (word && word->kind != kTokenAt)
        return stop(kXPathMalformed);
    Token token;
    if (!read(word ? at + 1 : at, end, token))
        return nullptr;
    if (token.kind == kTokenNumber && !word) {
        // Deliberate: positions are refused, and loudly, so that no application takes a whole list for one
        // element.
        record.index = number_of(token);
        record.tokenKind = kTokenNumber;
        return stop(kXPathUnsupported);
    }
    if (token.kind != kTokenName)
        return stop(kXPathMalformed);
    if (!keep(token, word ? record.attributeName : record.name))
        return nullptr;
    at = comparison(token.rest, end);
    if (!at)
        return nullptr;
    if (at == end || *at != ']')
        return stop(kXPathMalformed);
    return push() ? at + 1 : nullptr;
}

// What may stand between the name and the closing bracket of a predicate: nothing, or an operator and a
// literal.
const char* Parser::comparison(const char* at, const char* end) {
    const ReservedWord* word = at < end ? find_reserved_word(at, end) : nullptr;
    if (!word)
        return at;
    if (word->kind != kTokenEqual && word->kind != kTokenNotEqual)
        return stop(kXPathMalformed);
    (*m_pending)->tokenKind = m_engine.m_nTokenKind = word->kind;
    at += word->length;
    if (at == end || (*at != '"' && *at != '\''))
        return stop(kXPathMalformed);
    Token token;
    if (!read(at, end, token) || !keep(token, (*m_pending)->value))
        return nullptr;
    return token.rest;
}

} // namespace
} // namespace kalto

using namespace kalto;

bool CVurlXpath::LexAnalysis() {
    removeWhiteSpace();
    if (m_nError != kXPathNoError)
        return false;
    XPathAction* pending = nullptr;
    tokenize(m_pszExpression, nullptr, &pending);
    delete pending;
    return m_nError == kXPathNoError;
}

// Deliberate: a quote of either kind ends a literal here, whichever kind began it, so that white space behind
// an apostrophe inside double quotes is lost. Expressions in use were written around that.
void CVurlXpath::removeWhiteSpace() {
    char* to = m_pszExpression;
    bool inside = false;
    for (const char* from = to; from && *from; ++from) {
        if (*from == '"' || *from == '\'')
            inside = !inside;
        else if (!inside && *from >= 1 && *from <= 32)
            continue;
        *to++ = *from;
    }
    if (to == m_pszExpression)
        m_nError = kXPathMalformed; // nothing to select by, or no memory for the copy
    else
        *to = '\0';
}

// Deliberate: slashes are looked for before anything else, so that one inside a literal ends its field and
// makes the predicate malformed. Applications know that such values cannot be asked for, and test for the
// error.
int CVurlXpath::tokenize(const char* text, char** rest, XPathAction** pending) {
    Parser parser(*this, pending);
    const char* at = text;
    const char* const end = at + strlen(at);
    bool after_slash = false;
    bool good = true;
    while (good && at < end) {
        const void* found = memchr(at, '/', static_cast<size_t>(end - at));
        const char* stop = found ? static_cast<const char*>(found) : end;
        good = at == stop ? parser.slash(after_slash) : parser.field(at, stop);
        after_slash = at == stop;
        at = stop < end ? stop + 1 : end;
    }
    if (rest)
        *rest = const_cast<char*>(at);
    return good ? kTokenEnd : -1;
}

int CVurlXpath::tokenizePredicate(XPathAction** pending, char** rest) {
    Parser parser(*this, pending);
    if (!parser.wait())
        return -1;
    const char* behind = parser.predicate(*rest, *rest + strlen(*rest));
    if (!behind)
        return -1;
    *rest = const_cast<char*>(behind);
    return kPredicatePushed;
}

char* CVurlXpath::tokenizeNameNumber(char* text) {
    Token token;
    const XPathError error = read_token(text, text + strlen(text), token);
    if (token.kind != kTokenNone)
        m_nTokenKind = token.kind;
    char* copy = error == kXPathNoError ? copy_of(token) : nullptr;
    if (!copy)
        m_nError = error != kXPathNoError ? error : kXPathMalformed;
    return copy;
}

int CVurlXpath::checkReservedWords(char** text) {
    const ReservedWord* word = *text ? find_reserved_word(*text, *text + strlen(*text)) : nullptr;
    m_nTokenKind = *text ? (word ? word->kind : kTokenNone) : kTokenEnd;
    return m_nTokenKind;
}
