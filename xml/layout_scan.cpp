// Finds how a text is laid out, so that the writer can reproduce it.
#include <cstring>
#include <kalto/xml.h>

// Only the part up to the third element tag decides.
void CVurlDOM::ScanForDocStyle(const char* text) {
    unsigned style = std::strncmp(text, "\xEF\xBB\xBF", 3) == 0 ? DOCSTYLE_BOM : 0u;
    char previous = 0;
    for (int tags = 0; *text != '\0' && tags < 3; previous = *text++) {
        if (previous == '<') {
            if (*text != '!' && *text != '?')
                ++tags;
        } else if (*text == '\n') {
            style |= previous == '\r' ? DOCSTYLE_LF | DOCSTYLE_CRLF : DOCSTYLE_LF;
        } else if (previous == '\n') {
            if (*text == '\t')
                style |= DOCSTYLE_TABS;
            else if (*text == ' ')
                style |= DOCSTYLE_SPACES;
        }
    }
    m_nDocStyle = static_cast<unsigned short>(style);
}
