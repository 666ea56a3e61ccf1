/* Splitting a narrow string into tokens. */
#ifndef KALTO_TOKENIZER_H
#define KALTO_TOKENIZER_H

#include <kalto/types.h>
#include <memory>

/* Splits a narrow string at any character of a delimiter set. Works on copies of its own: the strings passed
 * in may go away. Adjacent delimiters are one separator unless null tokens are asked for.
 *
 * Scanning writes terminators behind the tokens that it finds into a working copy of the input, and they stay
 * there until countTokens: after a change of the delimiter set a token still ends where one ended before.
 *
 * Every string handed out is the caller's, to be released with delete[]. Running out of memory is
 * std::bad_alloc, as from new. Different tokenizers may be used in different threads; one tokenizer belongs
 * to one thread at a time, its const members included. No string argument may be null. */
class qrd_StringTokenizer {
  public:
    /* Splits at space, tab, carriage return and line feed. */
    KALTO_API qrd_StringTokenizer(const char* input);
    KALTO_API qrd_StringTokenizer(const char* input, const char* delimiters);
    /* With return_delimiters each token is handed out with the delimiter that ended it appended; the last one
     * of the string has none. */
    KALTO_API qrd_StringTokenizer(const char* input, const char* delimiters, bool return_delimiters);
    KALTO_API ~qrd_StringTokenizer();
    qrd_StringTokenizer(const qrd_StringTokenizer&) = delete;
    qrd_StringTokenizer& operator=(const qrd_StringTokenizer&) = delete;

    /* Turns the reporting of empty fields on or off, from here on. With it on, each delimiter at a place
     * where a token would begin is an empty field. The delimiter that ends a token goes with it: "a," has one
     * field. */
    KALTO_API void returnNullTokens(bool on);

    /* Whether nextToken has something to report: with null tokens as long as the string is not used up,
     * without them as long as there is a token. */
    KALTO_API bool hasMoreTokens() const;
    KALTO_API bool hasMoreElements() const;

    /* The next token, or null when there is none. With null tokens, null also stands for an empty field (only
     * hasMoreTokens tells the two apart); when delimiters are returned too, an empty field is its delimiter
     * alone. */
    KALTO_API char* nextToken();
    /* Replaces the delimiter set for this and all later calls, then does the same. */
    KALTO_API char* nextToken(const char* delimiters);
    KALTO_API char* nextElement();

    /* The number of tokens (and of empty fields, when they are reported) in the whole string, wherever the
     * position is: not the number that is left. */
    KALTO_API int countTokens() const;

    /* The token with this number, the first being 1, without moving the position; null when there are fewer
     * or index is less than 1. Where the number is that of an empty field: the last token before it, or null.
     */
    KALTO_API char* getTokenAt(int index);

  private:
    struct Token;
    struct Scan;
    bool find(uint32_t from, Token& token) const;
    bool is_delimiter(uint32_t at) const;
    bool step(Scan& scan) const;

    std::unique_ptr<char[]> m_working;    /* the input, with the terminators that scanning wrote */
    std::unique_ptr<char[]> m_pristine;   /* the input */
    std::unique_ptr<char[]> m_delimiters; /* the current set */
    uint32_t m_position;                  /* of the next unread character */
    uint32_t m_length;                    /* of the input */
    bool m_return_delimiters;
    bool m_return_null_tokens;
};

#endif
