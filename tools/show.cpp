// The commands that show keys: query and tree.
#include "tools/registry_key.h"

#include <algorithm>

namespace kaltoreg {
namespace {

void print_value(const Value& value, const std::string& indent, const Streams& streams) {
    fprintf(streams.out, "%s%s  %s  %s\n", indent.c_str(), to_utf8(value.name).c_str(), type_text(value.type),
            data_text(value).c_str());
}

Status print_values(const Key& key, const KeyName& name, const std::string& indent, const Streams& streams) {
    std::vector<Value> values;
    const LONG error = key.values(values);
    if (error != 0)
        return report(error, name.full(), streams);
    for (const Value& value : values)
        print_value(value, indent, streams);
    return kDone;
}

Status print_tree(const KeyName& name, const std::wstring& shown, std::string indent,
                  const Streams& streams) {
    Key key;
    const LONG error = key.open(name);
    if (error != 0)
        return report(error, name.full(), streams);
    fprintf(streams.out, "%s%s\n", indent.c_str(), to_utf8(shown).c_str());
    indent += "  ";
    Status status = print_values(key, name, indent + "= ", streams);
    std::vector<KeyName> below;
    status = std::max(status, keys_below(key, name, below, streams));
    for (const KeyName& child : below)
        status = std::max(status, print_tree(child, child.last(), indent, streams));
    return status;
}

} // namespace

Status query(const Arguments& arguments, const Streams& streams) {
    KeyName name;
    if (!key_argument(arguments[0], name, streams))
        return kFailed;
    Key key;
    LONG error = key.open(name);
    if (error != 0)
        return report(error, name.full(), streams);
    if (arguments.size() == 2) {
        Value value;
        std::wstring wanted;
        error = to_wide(arguments[1], wanted) ? key.value(wanted, value) : 2;
        if (error != 0)
            return report(error, name.full() + L", value " + wanted, streams);
        fprintf(streams.out, "%s\n", data_text(value).c_str());
        return kDone;
    }
    fprintf(streams.out, "%s\n", to_utf8(name.full()).c_str());
    const Status status = print_values(key, name, "  ", streams);
    std::vector<std::wstring> below;
    error = key.sub_keys(below);
    if (error != 0)
        return report(error, name.full(), streams);
    for (const std::wstring& child : below)
        fprintf(streams.out, "%s\\%s\n", to_utf8(name.full()).c_str(), to_utf8(child).c_str());
    return status;
}

Status tree(const Arguments& arguments, const Streams& streams) {
    KeyName name;
    if (!key_argument(arguments[0], name, streams))
        return kFailed;
    return print_tree(name, name.full(), "", streams);
}

} // namespace kaltoreg
