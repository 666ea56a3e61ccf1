#include "tests/text/tokenizer_model.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (!tokenizer_agrees_with_model(std::string(data, data + size)))
        abort();
    return 0;
}
