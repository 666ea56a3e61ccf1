// What the tokenizer must do, on top of the C library's own scanner, and a driver that compares the two. For
// the random test and the fuzz target.
#ifndef KALTO_TESTS_TOKENIZER_MODEL_H
#define KALTO_TESTS_TOKENIZER_MODEL_H

#include <algorithm>
#include <cstring>
#include <kalto/tokenizer.h>
#include <memory>
#include <string>

// A token in brackets, so that none and an empty one differ. Takes the token over.
inline std::string taken(char* token) {
    const std::unique_ptr<char[]> owner(token);
    return token == nullptr ? "<null>" : std::string("[") + token + "]";
}

struct TokenizerModel {
    std::string pristine;
    std::string delimiters;
    bool return_delimiters;
    bool null_tokens = false;
    size_t position = 0;
    std::string working = pristine;
    std::string last = {}; // the last real token of a walk

    // One token or empty field from the place on, as text, and the place moved behind it; empty when there is
    // none.
    std::string step(size_t& place) {
        if (place >= pristine.size())
            return "";
        if (null_tokens && working[place] != '\0' && delimiters.find(working[place]) != std::string::npos) {
            ++place;
            return return_delimiters ? "[" + pristine.substr(place - 1, 1) + "]" : "<null>";
        }
        char* rest = nullptr;
        const char* const token = strtok_r(working.data() + place, delimiters.c_str(), &rest);
        if (token == nullptr)
            return "";
        last = std::string("[") + token + "]";
        const auto start = static_cast<size_t>(token - working.data());
        place = start + strlen(token) + 1;
        return "[" + pristine.substr(start, strlen(token) + (return_delimiters ? 1 : 0)) + "]";
    }

    bool has_more() {
        size_t place = position;
        return position < pristine.size() && (null_tokens || !step(place).empty());
    }

    std::string next() {
        const std::string token = step(position);
        return token.empty() ? "<null>" : token;
    }

    int walk(int most) {
        last = "<null>";
        int count = 0;
        for (size_t place = 0; count < most && !step(place).empty();)
            ++count;
        return count;
    }

    std::string at(int index) { return walk(index) < index ? "<null>" : last; }

    int count() {
        working = pristine;
        return walk(1 << 30);
    }
};

// Makes the calls that the bytes spell, on a tokenizer and on the model; false at the first difference. First
// a byte of flags, then the delimiters and the string to split, each with a terminator, then the calls.
inline bool tokenizer_agrees_with_model(const std::string& bytes) {
    size_t at = 0;
    const auto byte = [&] { return at < bytes.size() ? static_cast<unsigned char>(bytes[at++]) : 0; };
    const auto text = [&] {
        const size_t start = std::min(at, bytes.size());
        const size_t end = std::min(bytes.find('\0', start), bytes.size());
        at = end + 1;
        return bytes.substr(start, end - start);
    };
    const bool return_delimiters = byte() % 2 != 0;
    std::string delimiters = text();
    const std::string input = text();
    qrd_StringTokenizer tokenizer(input.c_str(), delimiters.c_str(), return_delimiters);
    TokenizerModel model = {input, delimiters, return_delimiters};
    bool same = true;
    while (same && at < bytes.size()) {
        const int call = byte() % 8;
        if (call == 0) {
            same = tokenizer.hasMoreTokens() == model.has_more();
        } else if (call == 1) {
            model.delimiters = text();
            same = taken(tokenizer.nextToken(model.delimiters.c_str())) == model.next();
        } else if (call == 2) {
            model.null_tokens = byte() % 2 != 0;
            tokenizer.returnNullTokens(model.null_tokens);
        } else if (call == 3) {
            same = tokenizer.countTokens() == model.count();
        } else if (call == 4) {
            const int index = byte() % 16 - 1;
            same = taken(tokenizer.getTokenAt(index)) == model.at(index);
        } else {
            same = taken(tokenizer.nextToken()) == model.next();
        }
    }
    return same;
}

#endif
