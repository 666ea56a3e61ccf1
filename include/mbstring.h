/* Multibyte text by the names of the run-time library. The bytes are compared and moved as they are, which
 * is right for single-byte encodings and for UTF-8; places are those of bytes, not of characters. */
#ifndef KALTO_MBSTRING_H
#define KALTO_MBSTRING_H

#include <kalto/porting.h>
#include <string.h>

#ifdef __cplusplus
#define KALTO_BYTES(text) (reinterpret_cast<char*>(const_cast<unsigned char*>(text)))
#define KALTO_UNITS(text) (reinterpret_cast<unsigned char*>(const_cast<char*>(text)))
#else
#define KALTO_BYTES(text) ((char*)(text))
#define KALTO_UNITS(text) ((unsigned char*)(text))
#endif

static inline size_t _mbslen(const unsigned char* text) {
    return strlen(KALTO_BYTES(text));
}
static inline unsigned char* _mbscpy(unsigned char* to, const unsigned char* from) {
    return KALTO_UNITS(strcpy(KALTO_BYTES(to), KALTO_BYTES(from)));
}
static inline unsigned char* _mbscat(unsigned char* to, const unsigned char* from) {
    return KALTO_UNITS(strcat(KALTO_BYTES(to), KALTO_BYTES(from)));
}
static inline int _mbscmp(const unsigned char* first, const unsigned char* second) {
    return strcmp(KALTO_BYTES(first), KALTO_BYTES(second));
}
static inline int _mbsicmp(const unsigned char* first, const unsigned char* second) {
    return _stricmp(KALTO_BYTES(first), KALTO_BYTES(second));
}
static inline unsigned char* _mbschr(const unsigned char* text, unsigned int unit) {
    return KALTO_UNITS(strchr(KALTO_BYTES(text), KALTO_CAST(int, unit)));
}
static inline unsigned char* _mbsrchr(const unsigned char* text, unsigned int unit) {
    return KALTO_UNITS(strrchr(KALTO_BYTES(text), KALTO_CAST(int, unit)));
}
static inline unsigned char* _mbsstr(const unsigned char* text, const unsigned char* wanted) {
    return KALTO_UNITS(strstr(KALTO_BYTES(text), KALTO_BYTES(wanted)));
}
static inline unsigned char* _mbsinc(const unsigned char* text) {
    return KALTO_UNITS(KALTO_BYTES(text) + 1);
}

#endif
