// The string tokenizer. Scans as strtok does, but keeps nothing outside the object, so that two threads can
// tokenize and neither disturbs an application's own use of strtok.
#include <cstring>
#include <kalto/tokenizer.h>

namespace {

std::unique_ptr<char[]> copy_of(const char* text, size_t length) {
    std::unique_ptr<char[]> copy(new char[length + 1]);
    memcpy(copy.get(), text, length);
    copy[length] = '\0';
    return copy;
}

std::unique_ptr<char[]> copy_of(const char* text) {
    return copy_of(text, strlen(text));
}

// Which characters a scan stops at. Made anew for each scan, which costs less than one look through the set
// by the C library's strcspn.
class StopSet {
  public:
    explicit StopSet(const char* characters) {
        for (; *characters != '\0'; ++characters)
            add(*characters);
    }

    void add(char c) { m_bits[index(c) / 32] |= uint32_t{1} << index(c) % 32; }
    bool has(char c) const { return (m_bits[index(c) / 32] >> index(c) % 32 & 1) != 0; }

  private:
    static unsigned index(char c) { return static_cast<unsigned char>(c); }

    uint32_t m_bits[8] = {};
};

} // namespace

struct qrd_StringTokenizer::Token {
    uint32_t start;
    uint32_t length;

    // One past the character that ended the token: exactly one delimiter goes with it.
    uint32_t next() const { return start + length + 1; }
};

// A walk over the whole string, apart from the position that nextToken moves.
struct qrd_StringTokenizer::Scan {
    uint32_t at = 0;
    int count = 0;
    bool met_token = false;
    Token last = {0, 0};
};

static_assert(sizeof(void*) != 4 || sizeof(qrd_StringTokenizer) == 24, "applications allocate it themselves");

qrd_StringTokenizer::qrd_StringTokenizer(const char* input) : qrd_StringTokenizer(input, " \t\r\n", false) {}

qrd_StringTokenizer::qrd_StringTokenizer(const char* input, const char* delimiters)
    : qrd_StringTokenizer(input, delimiters, false) {}

qrd_StringTokenizer::qrd_StringTokenizer(const char* input, const char* delimiters, bool return_delimiters)
    : m_position(0), m_length(static_cast<uint32_t>(strlen(input))), m_return_delimiters(return_delimiters),
      m_return_null_tokens(false) {
    m_working = copy_of(input, m_length);
    m_pristine = copy_of(input, m_length);
    m_delimiters = copy_of(delimiters);
}

qrd_StringTokenizer::~qrd_StringTokenizer() = default;

void qrd_StringTokenizer::returnNullTokens(bool on) {
    m_return_null_tokens = on;
}

// What strtok does from the given place: skips delimiters, then ends the token by a terminator in the working
// copy. Terminators of earlier scans end the text.
bool qrd_StringTokenizer::find(uint32_t from, Token& token) const {
    StopSet stops(m_delimiters.get());
    char* start = m_working.get() + from;
    while (stops.has(*start))
        ++start;
    if (*start == '\0')
        return false;
    stops.add('\0');
    char* end = start;
    while (!stops.has(*end))
        ++end;
    *end = '\0';
    token = {static_cast<uint32_t>(start - m_working.get()), static_cast<uint32_t>(end - start)};
    return true;
}

// Looks at the working copy: where a terminator was written there is no delimiter any more.
bool qrd_StringTokenizer::is_delimiter(uint32_t at) const {
    const char c = m_working[at];
    return c != '\0' && strchr(m_delimiters.get(), c) != nullptr;
}

bool qrd_StringTokenizer::hasMoreTokens() const {
    if (m_position >= m_length)
        return false;
    Token token = {};
    return m_return_null_tokens || find(m_position, token);
}

bool qrd_StringTokenizer::hasMoreElements() const {
    return hasMoreTokens();
}

char* qrd_StringTokenizer::nextToken() {
    if (m_position >= m_length)
        return nullptr;
    if (m_return_null_tokens && is_delimiter(m_position)) {
        const char* const delimiter = m_pristine.get() + m_position;
        ++m_position;
        return m_return_delimiters ? copy_of(delimiter, 1).release() : nullptr;
    }
    Token token = {};
    if (!find(m_position, token))
        return nullptr;
    m_position = token.next();
    // With its delimiter the token is a piece of the pristine copy; at the end of the string that is the
    // terminator.
    const char* const text = m_pristine.get() + token.start;
    return copy_of(text, token.length + (m_return_delimiters ? 1 : 0)).release();
}

char* qrd_StringTokenizer::nextToken(const char* delimiters) {
    m_delimiters = copy_of(delimiters);
    return nextToken();
}

char* qrd_StringTokenizer::nextElement() {
    return nextToken();
}

// Moves over one token or empty field; false when there is none left.
bool qrd_StringTokenizer::step(Scan& scan) const {
    if (scan.at >= m_length)
        return false;
    if (m_return_null_tokens && is_delimiter(scan.at)) {
        ++scan.at;
    } else {
        if (!find(scan.at, scan.last))
            return false;
        scan.at = scan.last.next();
        scan.met_token = true;
    }
    ++scan.count;
    return true;
}

int qrd_StringTokenizer::countTokens() const {
    // Deliberate: from the start, not from the position; callers size their tables by it after a first look.
    memcpy(m_working.get(), m_pristine.get(), m_length);
    Scan scan;
    while (step(scan)) {
    }
    return scan.count;
}

char* qrd_StringTokenizer::getTokenAt(int index) {
    Scan scan;
    while (scan.count < index && step(scan)) {
    }
    // Deliberate: an empty field gives the last token before it, as applications that step over fields
    // expect.
    if (scan.count < index || !scan.met_token)
        return nullptr;
    return copy_of(m_pristine.get() + scan.last.start, scan.last.length).release();
}
