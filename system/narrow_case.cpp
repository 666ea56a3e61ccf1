// In-place changes of narrow text, byte by byte as the current locale's tables say.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <kalto/system.h>

static char* map_bytes(char* text, int (*map)(int)) {
    for (char* place = text; place != nullptr && *place != '\0'; ++place) {
        *place = static_cast<char>(map(static_cast<unsigned char>(*place)));
    }
    return text;
}

char* strrev(char* text) {
    if (text != nullptr) {
        std::reverse(text, text + std::strlen(text));
    }
    return text;
}

char* strlwr(char* text) {
    return map_bytes(text, std::tolower);
}

char* strupr(char* text) {
    return map_bytes(text, std::toupper);
}
