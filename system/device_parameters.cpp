// The device's non-volatile parameters: values of one registry key, each of which an environment variable of
// the same name overrides. The registry's own lock serialises the queries.
#include "text/convert.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <kalto/errors.h>
#include <kalto/registry.h>
#include <kalto/system.h>
#include <string>

namespace kalto {
namespace {

constexpr wchar_t kParameterKey[] = L"SOFTWARE\\Velmoran\\NVPARM";
constexpr DWORD kDataSize = 200; // 49 characters and the terminator

// What a value holds. One character more than can be read, so that data without a terminator ends too.
struct ParameterData {
    WCHAR text[kDataSize / sizeof(WCHAR) + 1];
    DWORD size; // in bytes, as the registry reports it
};

// Closes a key in every case: also when the thread is terminated while it waits for the registry's lock. That
// may happen in closing too, so the destructor must let it pass.
class OpenKey {
  public:
    explicit OpenKey(HKEY key) : key_(key) {}
    ~OpenKey() noexcept(false) { RegCloseKey(key_); }
    OpenKey(const OpenKey&) = delete;
    OpenKey& operator=(const OpenKey&) = delete;

    HKEY get() const { return key_; }

  private:
    HKEY key_;
};

bool query_value(HKEY key, const char* name, ParameterData& data) {
    std::wstring wide_name;
    data.size = kDataSize;
    return to_wide(name, wide_name) &&
           RegQueryValueEx(key, wide_name.c_str(), nullptr, nullptr, reinterpret_cast<LPBYTE>(data.text),
                           &data.size) == ERROR_SUCCESS;
}

bool read_parameter(const char* name, ParameterData& data) {
    HKEY key = nullptr;
    if (RegCreateKeyEx(HKEY_LOCAL_MACHINE, kParameterKey, 0, nullptr, 0, 0, nullptr, &key, nullptr) !=
        ERROR_SUCCESS) {
        return false;
    }
    const OpenKey open_key(key);
    return query_value(open_key.get(), name, data);
}

// Deliberate: the length goes without the terminator here, and with it where the value is the registry's.
BOOL give_override(const char* text, char* buffer, DWORD* size) {
    const std::size_t capacity = *size;
    const std::size_t length = std::strlen(text);
    *size = static_cast<DWORD>(length);
    if (capacity <= length) {
        return FALSE;
    }
    std::memcpy(buffer, text, length + 1);
    return TRUE;
}

BOOL give_stored(const char* name, char* buffer, DWORD* size) {
    const std::size_t capacity = *size;
    ParameterData data = {};
    std::string text;
    *size = 0;
    if (!read_parameter(name, data) || !to_narrow(data.text, text)) {
        return FALSE;
    }
    // Deliberate: the size of the wide text decides, and text that does not fit leaves the buffer as it was
    // and still succeeds; applications on the device look at the buffer. (The second condition is for
    // encodings that take more than four bytes for a character.)
    if (data.size <= capacity && text.size() < capacity) {
        std::memcpy(buffer, text.c_str(), text.size() + 1);
    }
    const std::size_t length = capacity == 0 ? 0 : strnlen(buffer, capacity);
    *size = static_cast<DWORD>(length + 1);
    return TRUE;
}

const char* parameter_name(unsigned selector) {
    switch (selector) {
    case KALTO_NVPARM_SERIAL_NUM:
        return "QRD_NVPARM_SERIAL_NUM";
    case KALTO_NVPARM_MCODE:
        return "QRD_NVPARM_MCODE";
    case KALTO_NVPARM_MANU_FLAGS:
        return "QRD_NVPARM_MANU_FLAGS";
    default:
        return nullptr;
    }
}

// The first nonzero of the first two bytes; a byte beyond the announced size counts as 0.
unsigned selector_of(const BYTE* in, DWORD size) {
    const unsigned first = size > 0 ? in[0] : 0u;
    return first == 0 && size > 1 ? in[1] : first;
}

} // namespace
} // namespace kalto

BOOL KaltoGetNvparm(const char* name, char* buffer, LPDWORD size) {
    if (size == nullptr) {
        return FALSE;
    }
    if (buffer == nullptr || name == nullptr) {
        *size = 0;
    }
    if (name == nullptr) {
        return FALSE;
    }
    const char* text = std::getenv(name);
    return text != nullptr ? kalto::give_override(text, buffer, size)
                           : kalto::give_stored(name, buffer, size);
}

BOOL KernelIoControl(DWORD dwIoControlCode, LPVOID lpInBuf, DWORD nInBufSize, LPVOID lpOutBuf,
                     DWORD nOutBufSize, LPDWORD lpBytesReturned) {
    UNREFERENCED_PARAMETER(dwIoControlCode);
    if (lpInBuf == nullptr) {
        return FALSE;
    }
    const char* name = kalto::parameter_name(kalto::selector_of(static_cast<BYTE*>(lpInBuf), nInBufSize));
    auto* const out = static_cast<char*>(lpOutBuf);
    if (out != nullptr && nOutBufSize != 0) {
        std::memset(out, '0', nOutBufSize);
        out[nOutBufSize - 1] = '\0';
    }
    // Deliberate: a success that says nothing, for applications that ask for parameters a device does not
    // have.
    if (name == nullptr) {
        return TRUE;
    }
    DWORD size = nOutBufSize;
    const BOOL result = KaltoGetNvparm(name, out, &size);
    if (lpBytesReturned != nullptr) {
        *lpBytesReturned = size;
    }
    return result;
}
