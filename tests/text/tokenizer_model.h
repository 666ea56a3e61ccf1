// What the tokenizer must do, on top of the C library's own scanner. For the random test and the fuzz target.
#ifndef KALTO_TESTS_TOKENIZER_MODEL_H
#define KALTO_TESTS_TOKENIZER_MODEL_H

#include <cstring>
#include <memory>
#include <string>
#include <vector>

// A token in brackets, so that none and an empty one differ. Takes the token over.
inline std::string taken(char* token) {
    const std::unique_ptr<char[]> owner(token);
    return token == nullptr ? "<null>" : std::string("[") + token + "]";
}

class TokenizerModel {
  public:
    TokenizerModel(std::string input, std::string delimiters, bool return_delimiters)
        : m_pristine(std::move(input)), m_delimiters(std::move(delimiters)),
          m_return_delimiters(return_delimiters) {
        restore();
    }

    void return_null_tokens(bool on) { m_null_tokens = on; }
    void set_delimiters(const std::string& delimiters) { m_delimiters = delimiters; }

    bool has_more() {
        return m_position < m_pristine.size() && (m_null_tokens || scan(m_position) != nullptr);
    }

    std::string next() {
        if (!has_more())
            return "<null>";
        if (m_null_tokens && at_delimiter(m_position)) {
            const std::string alone = "[" + m_pristine.substr(m_position++, 1) + "]";
            return m_return_delimiters ? alone : "<null>";
        }
        const char* token = scan(m_position);
        if (token == nullptr)
            return "<null>";
        m_position = after(token);
        std::string result = std::string("[") + token;
        if (m_return_delimiters && m_position <= m_pristine.size())
            result += m_pristine[m_position - 1];
        return result + "]";
    }

    int count() {
        restore();
        std::string last;
        return walk(1 << 30, last);
    }

    std::string at(int index) {
        std::string last = "<null>";
        return walk(index, last) < index ? "<null>" : last;
    }

  private:
    void restore() { m_working.assign(m_pristine.c_str(), m_pristine.c_str() + m_pristine.size() + 1); }

    char* scan(size_t from) {
        char* rest = nullptr;
        return strtok_r(m_working.data() + from, m_delimiters.c_str(), &rest);
    }

    size_t after(const char* token) const {
        return static_cast<size_t>(token - m_working.data()) + strlen(token) + 1;
    }

    bool at_delimiter(size_t place) const {
        return m_working[place] != '\0' && m_delimiters.find(m_working[place]) != std::string::npos;
    }

    int walk(int most, std::string& last) {
        int tokens = 0;
        for (size_t place = 0; tokens < most && place < m_pristine.size(); ++tokens) {
            if (m_null_tokens && at_delimiter(place)) {
                ++place;
                continue;
            }
            const char* token = scan(place);
            if (token == nullptr)
                break;
            last = std::string("[") + token + "]";
            place = after(token);
        }
        return tokens;
    }

    std::vector<char> m_working;
    std::string m_pristine;
    std::string m_delimiters;
    size_t m_position = 0;
    bool m_return_delimiters;
    bool m_null_tokens = false;
};

#endif
