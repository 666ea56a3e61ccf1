// Reads the input as a .reg file.
#include "tools/reg_text.h"

#include <clocale>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    setlocale(LC_CTYPE, "C.UTF-8");
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    std::wstring text;
    std::vector<kaltoreg::Change> changes;
    kaltoreg::Complaint complaint;
    if (!kaltoreg::decode_file(bytes, text))
        return 0;
    // What UTF-16 expressed comes back the same.
    std::wstring again;
    if (bytes.compare(0, 2, "\xFF\xFE") == 0 &&
        (!kaltoreg::from_utf16_bytes(kaltoreg::utf16_bytes(text), again) || again != text))
        abort();
    if (kaltoreg::parse_reg_text(text, changes, complaint) == !complaint.what.empty())
        abort();
    return 0;
}
