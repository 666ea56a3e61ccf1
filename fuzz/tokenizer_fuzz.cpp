// Makes the calls that the bytes spell: a byte of flags, then the delimiters and the string to split, each
// with a terminator, then the calls.
#include <algorithm>
#include <cstdint>
#include <kalto/tokenizer.h>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string bytes(data, data + size);
    size_t at = 1;
    const auto text = [&] {
        const size_t start = std::min(at, size);
        const size_t end = std::min(bytes.find('\0', start), size);
        at = end + 1;
        return bytes.substr(start, end - start);
    };
    const std::string delimiters = text(), input = text();
    qrd_StringTokenizer tokenizer(input.c_str(), delimiters.c_str(), size != 0 && data[0] % 2 != 0);
    while (at < size) {
        const unsigned call = data[at++];
        if (call % 8 == 0)
            tokenizer.hasMoreTokens();
        else if (call % 8 == 1)
            delete[] tokenizer.nextToken(text().c_str());
        else if (call % 8 == 2)
            tokenizer.returnNullTokens(call % 16 != 2);
        else if (call % 8 == 3)
            tokenizer.countTokens();
        else if (call % 8 == 4)
            delete[] tokenizer.getTokenAt(static_cast<int>(call / 8) - 1);
        else
            delete[] tokenizer.nextToken();
    }
    return 0;
}
