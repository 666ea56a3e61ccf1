// Keys and values over the library's interface.
#include "tools/registry_key.h"

#include <cstring>
#include <cwchar>
#include <kalto/errors.h>

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

bool parse_key(const std::wstring& text, KeyName& name) {
    const std::wstring first = text.substr(0, text.find(L'\\'));
    for (const auto& known : kRoots) {
        if (wcscasecmp(first.c_str(), known.name) != 0 && wcscasecmp(first.c_str(), known.shorter) != 0)
            continue;
        name.root = root_of(known.number);
        name.path = first.size() < text.size() ? text.substr(first.size() + 1) : L"";
        if (!name.path.empty() && name.path.back() == L'\\')
            name.path.pop_back();
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
    return text.c_str();
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

LONG Key::create(const KeyName& name) {
    return RegCreateKeyEx(name.root, name.path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key_,
                          nullptr);
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

LONG Key::values(std::vector<Value>& values) const {
    std::vector<wchar_t> name(256);
    for (DWORD i = 0;; ++i) {
        Value value;
        auto length = static_cast<DWORD>(name.size());
        LONG error = RegEnumValue(key_, i, name.data(), &length, nullptr, nullptr, nullptr, nullptr);
        if (error == ERROR_INVALID_PARAMETER) {
            name.resize(name.size() * 2);
            --i;
            continue;
        }
        if (error == ERROR_NO_MORE_ITEMS)
            return ERROR_SUCCESS;
        if (error == ERROR_SUCCESS)
            error = this->value(name.data(), value);
        if (error != ERROR_SUCCESS)
            return error;
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

Status report(LONG error, const std::wstring& what, const Streams& streams) {
    const char* reason = "failed";
    switch (error) {
    case ERROR_FILE_NOT_FOUND:
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
