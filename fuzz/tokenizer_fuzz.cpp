// Drives a tokenizer and its model with the same calls. The input: a byte of flags, the delimiters and the
// string to split, each with a terminator, then calls; a call that changes the delimiters is followed by them
// and a terminator.
#include "tests/text/tokenizer_model.h"

#include <cstdint>
#include <cstdlib>
#include <kalto/tokenizer.h>
#include <string>

namespace {

class Input {
  public:
    Input(const uint8_t* data, size_t size) : m_bytes(data, data + size) {}

    bool empty() const { return m_at >= m_bytes.size(); }
    int byte() { return empty() ? 0 : static_cast<unsigned char>(m_bytes[m_at++]); }

    std::string text() {
        std::string result;
        for (int c = byte(); c != 0; c = byte())
            result += static_cast<char>(c);
        return result;
    }

  private:
    std::string m_bytes;
    size_t m_at = 0;
};

void require(bool same) {
    if (!same)
        abort();
}

void call_both(qrd_StringTokenizer& tokenizer, TokenizerModel& model, Input& input) {
    switch (input.byte() % 8) {
    case 0:
        require(tokenizer.hasMoreTokens() == model.has_more());
        break;
    case 1: {
        const std::string delimiters = input.text();
        model.set_delimiters(delimiters);
        require(taken(tokenizer.nextToken(delimiters.c_str())) == model.next());
        break;
    }
    case 2:
    case 3: {
        const bool on = input.byte() % 2 != 0;
        tokenizer.returnNullTokens(on);
        model.return_null_tokens(on);
        break;
    }
    case 4:
        require(tokenizer.countTokens() == model.count());
        break;
    case 5: {
        const int index = input.byte() - 1;
        require(taken(tokenizer.getTokenAt(index)) == model.at(index));
        break;
    }
    default:
        require(taken(tokenizer.nextToken()) == model.next());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input input(data, size);
    const bool return_delimiters = input.byte() % 2 != 0;
    const std::string delimiters = input.text();
    const std::string text = input.text();
    qrd_StringTokenizer tokenizer(text.c_str(), delimiters.c_str(), return_delimiters);
    TokenizerModel model(text, delimiters, return_delimiters);
    while (!input.empty())
        call_both(tokenizer, model, input);
    return 0;
}
