// The command export: a key and everything below it as .reg text, which import reads back equal.
#include "tools/reg_text.h"

#include <algorithm>

namespace kaltoreg {
namespace {

constexpr size_t kLineWidth = 77;

bool has_control(const std::wstring& text) {
    for (wchar_t c : text)
        if (c < L' ')
            return true;
    return false;
}

std::wstring quoted(const std::wstring& text) {
    std::wstring out = L"\"";
    for (wchar_t c : text) {
        if (c == L'"' || c == L'\\')
            out += L'\\';
        out += c;
    }
    return out + L"\"";
}

// "hex:de,ad,...", folded with backslashes.
std::wstring byte_list(const std::wstring& prefix, const std::string& bytes, size_t column) {
    std::wstring out = prefix;
    column += prefix.size();
    for (size_t i = 0; i < bytes.size(); ++i) {
        wchar_t piece[8];
        swprintf(piece, 8, i + 1 < bytes.size() ? L"%02x," : L"%02x", static_cast<unsigned char>(bytes[i]));
        if (column + 4 > kLineWidth) {
            out += L"\\\n  ";
            column = 2;
        }
        out += piece;
        column += 3;
    }
    return out;
}

std::wstring value_line(const Value& value) {
    const std::wstring name = value.name == kUnnamed ? L"@" : quoted(value.name);
    const std::wstring start = name + L"=";
    wchar_t number[32];
    switch (value.type) {
    case REG_SZ:
        // Lines of a text stay lines of the file only as bytes.
        if (has_control(string_of(value)))
            return start + byte_list(L"hex(1):", utf16_bytes(string_of(value) + L'\0'), start.size()) + L"\n";
        return start + quoted(string_of(value)) + L"\n";
    case REG_DWORD:
        swprintf(number, 32, L"dword:%08x\n", static_cast<unsigned>(number_of(value)));
        return start + number;
    case REG_BINARY:
        return start + byte_list(L"hex:", {value.data.begin(), value.data.end()}, start.size()) + L"\n";
    default:
        return L"; " + name + L" has no data of a known type\n";
    }
}

Status export_tree(const KeyName& name, std::wstring& out, const Streams& streams) {
    Key key;
    std::vector<Value> values;
    std::vector<KeyName> below;
    LONG error = key.open(name);
    if (error == 0)
        error = key.values(values);
    if (error != 0)
        return report(error, name.full(), streams);
    out += L"\n[" + name.full() + L"]\n";
    for (const Value& value : values)
        out += value_line(value);
    Status status = keys_below(key, name, below, streams);
    for (const KeyName& child : below)
        status = std::max(status, export_tree(child, out, streams));
    return status;
}

} // namespace

Status export_keys(const Arguments& arguments, const Streams& streams) {
    const bool utf16 = arguments.size() == 2;
    if (utf16 && arguments[0] != "--utf16") {
        fprintf(streams.err, "kaltoreg: export: unknown option %s\n", arguments[0].c_str());
        return kFailed;
    }
    KeyName name;
    if (!key_argument(arguments.back(), name, streams))
        return kFailed;
    std::wstring text;
    const Status status = export_tree(name, text, streams);
    if (status == kFailed || text.empty())
        return status;
    text.insert(0, std::wstring(kHeader) + L"\n");
    const std::string bytes = utf16 ? "\xFF\xFE" + utf16_bytes(text) : to_utf8(text);
    fwrite(bytes.data(), 1, bytes.size(), streams.out);
    return status;
}

} // namespace kaltoreg
