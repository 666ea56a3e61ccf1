// Keys and values over the library's interface.
#include "tools/registry_key.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <cwchar>
#include <fcntl.h>
#include <kalto/errors.h>
#include <unistd.h>

namespace kaltoreg {
namespace {

constexpr struct {
    const wchar_t* name;
    const wchar_t* shorter;
    DWORD number;
} kRoots[] = {
    {L"HKEY_CLASSES_ROOT", L"HKCR", 1},
    {L"HKEY_CURRENT_USER", L"HKCU", 2},
    {L"HKEY_LOCAL_MACHINE", L"HKLM", 3},
    {L"HKEY_USERS", L"HKU", 4},
};

HKEY root_of(DWORD number) {
    return KALTO_POINTER_CAST(HKEY, number);
}

} // namespace

bool to_wide(const std::string& text, std::wstring& out) {
    mbstate_t state = {};
    const char* source = text.c_str();
    const size_t length = mbsrtowcs(nullptr, &source, 0, &state);
    if (length == static_cast<size_t>(-1))
        return false;
    out.resize(length);
    mbsrtowcs(&out[0], &source, length, &state);
    return true;
}

std::string to_utf8(const std::wstring& text) {
    std::string out;
    for (wchar_t c : text) {
        char bytes[16];
        mbstate_t state = {};
        const size_t length = wcrtomb(bytes, c, &state);
        length != static_cast<size_t>(-1) ? out.append(bytes, length) : out.append("?");
    }
    return out;
}

std::wstring KeyName::full() const {
    std::wstring text;
    for (const auto& known : kRoots)
        if (root_of(known.number) == root)
            text = known.name;
    return path.empty() ? text : text + L"\\" + path;
}

std::wstring KeyName::last() const {
    return path.substr(path.rfind(L'\\') + 1);
}

bool parse_key(const std::wstring& text, KeyName& name) {
    const std::wstring first = text.substr(0, text.find(L'\\'));
    for (const auto& known : kRoots) {
        if (wcscasecmp(first.c_str(), known.name) != 0 && wcscasecmp(first.c_str(), known.shorter) != 0)
            continue;
        name.root = root_of(known.number);
        name.path = text.substr(first.size());
        name.path.erase(0, name.path.find_first_not_of(L'\\'));
        name.path.erase(name.path.find_last_not_of(L'\\') + 1);
        return true;
    }
    return false;
}

bool key_argument(const std::string& argument, KeyName& name, const Streams& streams) {
    std::wstring text;
    if (to_wide(argument, text) && parse_key(text, name))
        return true;
    fprintf(streams.err, "kaltoreg: %s: does not begin with HKLM, HKCU, HKCR or HKU\n", argument.c_str());
    return false;
}

std::wstring string_of(const Value& value) {
    std::wstring text(value.data.size() / sizeof(wchar_t), L'\0');
    memcpy(&text[0], value.data.data(), text.size() * sizeof(wchar_t));
    text.resize(wcslen(text.c_str()));
    return text;
}

DWORD number_of(const Value& value) {
    DWORD number = 0;
    memcpy(&number, value.data.data(), std::min(sizeof number, value.data.size()));
    return number;
}

void set_string(Value& value, const std::wstring& text) {
    value.type = REG_SZ;
    value.data.resize((text.size() + 1) * sizeof(wchar_t));
    memcpy(value.data.data(), text.c_str(), value.data.size());
}

void set_number(Value& value, DWORD number) {
    value.type = REG_DWORD;
    value.data.resize(sizeof number);
    memcpy(value.data.data(), &number, sizeof number);
}

std::string data_text(const Value& value) {
    char piece[16];
    if (value.type == REG_SZ)
        return to_utf8(string_of(value));
    if (value.type == REG_DWORD) {
        snprintf(piece, sizeof piece, "0x%x", static_cast<unsigned>(number_of(value)));
        return piece;
    }
    std::string text;
    for (BYTE byte : value.data) {
        snprintf(piece, sizeof piece, "%s%02x", text.empty() ? "" : " ", byte);
        text += piece;
    }
    return text;
}

const char* type_text(DWORD type) {
    switch (type) {
    case REG_SZ:
        return "REG_SZ";
    case REG_DWORD:
        return "REG_DWORD";
    case REG_BINARY:
        return "REG_BINARY";
    default:
        return "unknown type";
    }
}

LONG Key::create(const KeyName& name, bool* created) {
    DWORD disposition = 0;
    const LONG error = RegCreateKeyEx(name.root, name.path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                      &key_, &disposition);
    if (created != nullptr)
        *created = disposition == REG_CREATED_NEW_KEY;
    return error;
}

bool Key::close() {
    if (key_ == nullptr)
        return true;
    const struct stat before = g_stRegFileStats;
    RegCloseKey(key_);
    key_ = nullptr;
    return saved_since(before);
}

LONG Key::sub_keys(std::vector<std::wstring>& names) const {
    std::vector<wchar_t> name(256);
    for (DWORD i = 0;; ++i) {
        auto length = static_cast<DWORD>(name.size());
        const LONG error = RegEnumKeyEx(key_, i, name.data(), &length, nullptr, nullptr, nullptr, nullptr);
        if (error == ERROR_INVALID_PARAMETER) {
            name.resize(name.size() * 2);
            --i;
            continue;
        }
        if (error != ERROR_SUCCESS)
            return error == ERROR_NO_MORE_ITEMS ? ERROR_SUCCESS : error;
        names.emplace_back(name.data());
    }
}

// By its index, because a value that stands unsorted in a hand-edited file is listed but not found.
LONG Key::value_at(DWORD index, std::vector<wchar_t>& name, Value& out) const {
    DWORD size = 0;
    auto length = static_cast<DWORD>(name.size());
    LONG error = RegEnumValue(key_, index, name.data(), &length, nullptr, &out.type, nullptr, &size);
    if (error != ERROR_SUCCESS && error != ERROR_MORE_DATA)
        return error;
    out.name = name.data();
    out.data.resize(size);
    length = static_cast<DWORD>(name.size());
    error = RegEnumValue(key_, index, name.data(), &length, nullptr, &out.type, out.data.data(), &size);
    out.data.resize(size);
    return error;
}

LONG Key::values(std::vector<Value>& values) const {
    std::vector<wchar_t> name(256);
    for (;;) {
        Value value;
        const LONG error = value_at(static_cast<DWORD>(values.size()), name, value);
        if (error == ERROR_INVALID_PARAMETER)
            name.resize(name.size() * 2);
        else if (error != ERROR_SUCCESS)
            return error == ERROR_NO_MORE_ITEMS ? ERROR_SUCCESS : error;
        else
            values.push_back(std::move(value));
    }
}

LONG Key::value(const std::wstring& name, Value& out) const {
    out.name = name;
    DWORD size = 0;
    LONG error = RegQueryValueEx(key_, name.c_str(), nullptr, &out.type, nullptr, &size);
    if (error != ERROR_SUCCESS && error != ERROR_MORE_DATA)
        return error;
    out.data.resize(size);
    error = RegQueryValueEx(key_, name.c_str(), nullptr, &out.type, out.data.data(), &size);
    out.data.resize(size);
    return error;
}

LONG Key::write(const Value& value) {
    return RegSetValueEx(key_, value.name.c_str(), 0, value.type, value.data.data(),
                         static_cast<DWORD>(value.data.size()));
}

bool saved_since(const struct stat& before) {
    return before.st_mtim.tv_sec != g_stRegFileStats.st_mtim.tv_sec ||
           before.st_mtim.tv_nsec != g_stRegFileStats.st_mtim.tv_nsec;
}

namespace {

// Whether the registry's file is there and can be opened, as after every call that could; says why if not.
bool file_opens(const Streams& streams) {
    std::string path;
    const int fd = open(SetSandboxPathToFile("/var/zel/registry.xml", path).c_str(), O_RDWR | O_CLOEXEC);
    if (fd == -1)
        fprintf(streams.err, "kaltoreg: %s: %s\n", path.c_str(), strerror(errno));
    else
        close(fd);
    return fd != -1;
}

} // namespace

Status keys_below(const Key& key, const KeyName& name, std::vector<KeyName>& below, const Streams& streams) {
    std::vector<std::wstring> names;
    const LONG error = key.sub_keys(names);
    if (error != 0)
        return report(error, name.full(), streams);
    Status status = kDone;
    for (const std::wstring& child : names) {
        HKEY opened = nullptr;
        const KeyName child_name{name.root, name.path.empty() ? child : name.path + L"\\" + child};
        if (!child.empty() && RegOpenKeyEx(key.get(), child.c_str(), 0, KEY_READ, &opened) == ERROR_SUCCESS) {
            RegCloseKey(opened);
            below.push_back(child_name);
            continue;
        }
        fprintf(streams.err, "kaltoreg: %s: is in the file, but no path leads to it; see 'kaltoreg verify'\n",
                to_utf8(child_name.full()).c_str());
        status = kNo;
    }
    return status;
}

Status report(LONG error, const std::wstring& what, const Streams& streams) {
    const char* reason = "failed";
    switch (error) {
    case ERROR_FILE_NOT_FOUND:
        if (!file_opens(streams))
            return kFailed;
        reason = "not found";
        break;
    case ERROR_INVALID_PARAMETER:
        reason = "not possible: a name is too long, or the key is too deep";
        break;
    case ERROR_REGISTRY_IO_FAILED:
        reason = "the registry cannot be read or cannot hold this; the system log may say more";
        break;
    case ERROR_KEY_DELETED:
        reason = "was deleted meanwhile";
        break;
    default:
        break;
    }
    fprintf(streams.err, "kaltoreg: %s: %s\n", to_utf8(what).c_str(), reason);
    return error == ERROR_FILE_NOT_FOUND ? kNo : kFailed;
}

Status report_unsaved(const Streams& streams) {
    fputs("kaltoreg: the registry could not be saved; the system log says why\n", streams.err);
    return kFailed;
}

} // namespace kaltoreg
