// The commands that change one thing: set and delete.
#include "tools/registry_key.h"

#include <cerrno>
#include <cstdlib>
#include <strings.h>

namespace kaltoreg {
namespace {

bool parse_number(const std::string& text, Value& value) {
    char* end = nullptr;
    const bool hexadecimal = strncasecmp(text.c_str(), "0x", 2) == 0;
    errno = 0;
    const unsigned long long number = strtoull(text.c_str(), &end, hexadecimal ? 16 : 10);
    if (text.empty() || text.find_first_not_of("0123456789abcdefABCDEFxX") != std::string::npos ||
        *end != '\0' || errno != 0 || number > 0xFFFFFFFFu)
        return false;
    set_number(value, static_cast<DWORD>(number));
    return true;
}

// Pairs of digits, with blanks or commas between them or nothing.
bool parse_bytes(const std::string& text, Value& value) {
    value.type = REG_BINARY;
    value.data.clear();
    for (size_t i = 0; i < text.size();) {
        if (text[i] == ' ' || text[i] == ',') {
            ++i;
            continue;
        }
        const std::string pair = text.substr(i, 2);
        if (pair.size() != 2 || pair.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
            return false;
        value.data.push_back(static_cast<BYTE>(strtoul(pair.c_str(), nullptr, 16)));
        i += 2;
    }
    return true;
}

bool parse_data(const std::string& type, const std::string& text, Value& value) {
    std::wstring wide;
    if (strcasecmp(type.c_str(), "REG_DWORD") == 0)
        return parse_number(text, value);
    if (strcasecmp(type.c_str(), "REG_BINARY") == 0)
        return parse_bytes(text, value);
    if (strcasecmp(type.c_str(), "REG_SZ") != 0 || !to_wide(text, wide))
        return false;
    set_string(value, wide);
    return true;
}

} // namespace

Status set(const Arguments& arguments, const Streams& streams) {
    KeyName name;
    Value value;
    if (!key_argument(arguments[0], name, streams))
        return kFailed;
    if (!to_wide(arguments[1], value.name) || !parse_data(arguments[2], arguments[3], value)) {
        fprintf(streams.err, "kaltoreg: %s: not data of type %s (REG_SZ, REG_DWORD, REG_BINARY)\n",
                arguments[3].c_str(), arguments[2].c_str());
        return kFailed;
    }
    Key key;
    LONG error = key.create(name);
    if (error == 0)
        error = key.write(value);
    if (error != 0) {
        report(error, name.full(), streams);
        return kFailed;
    }
    return key.close() ? kDone : report_unsaved(streams);
}

Status remove(const Arguments& arguments, const Streams& streams) {
    KeyName name;
    std::wstring value;
    if (!key_argument(arguments[0], name, streams))
        return kFailed;
    if (arguments.size() == 1) {
        if (name.path.empty()) {
            fprintf(streams.err, "kaltoreg: %s: a root cannot be deleted\n", to_utf8(name.full()).c_str());
            return kFailed;
        }
        // What is in memory must be loaded first, so that the status tells whether the deletion was saved.
        Key root;
        root.open({name.root, L""});
        const LONG error = RegDeleteKey(name.root, name.path.c_str());
        if (error != 0)
            return report(error, name.full(), streams);
        return root.close() ? kDone : report_unsaved(streams);
    }
    Key key;
    LONG error = key.open(name);
    if (error == 0)
        error = to_wide(arguments[1], value) ? RegDeleteValue(key.get(), value.c_str()) : 2;
    if (error != 0)
        return report(error, name.full() + (value.empty() ? L"" : L", value " + value), streams);
    return key.close() ? kDone : report_unsaved(streams);
}

} // namespace kaltoreg
