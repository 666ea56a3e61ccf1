#include "tests/registry/sandbox.h"

#include <cstdlib>
#include <kalto/system.h>
#include <pkfuncs.h>

namespace {

constexpr char kSerial[] = "QRD_NVPARM_SERIAL_NUM";
constexpr wchar_t kKey[] = L"SOFTWARE\\Velmoran\\NVPARM";
constexpr DWORD kUntouched = 4711;

class DeviceParameters : public Sandbox {
  protected:
    static void store(DWORD type, const std::wstring& data) {
        const HKEY key = create_key(kKey);
        RegSetValueEx(key, L"QRD_NVPARM_SERIAL_NUM", 0, type, reinterpret_cast<const BYTE*>(data.data()),
                      static_cast<DWORD>(data.size() * sizeof(wchar_t)));
        RegCloseKey(key);
    }
};

// A text, where there is one, and its terminator over the start of a buffer.
std::string over(std::string buffer, const char* text) {
    return text == nullptr ? buffer : buffer.replace(0, strlen(text) + 1, text, strlen(text) + 1);
}

TEST_F(DeviceParameters, AreSelectedByTheFirstNonzeroOfTwoBytesAndTakenFromTheEnvironmentOrTheRegistry) {
    const std::string longest(49, 'x');
    const std::wstring wide(50, L'x');
    setenv("QRD_NVPARM_MCODE", "mcode", 1);
    setenv("QRD_NVPARM_MANU_FLAGS", "flags", 1);
    const struct {
        std::vector<BYTE> in;
        DWORD room;
        const char* environment; // what each holds as serial number; null: nothing
        const wchar_t* registry;
        BOOL result;
        const char* text; // null: zeros alone
        DWORD size;
    } cases[] = {
        {{10, 2}, 12, nullptr, nullptr, 1, "mcode", 5},
        {{0, 39, 2}, 12, nullptr, nullptr, 1, "flags", 5},
        {{11, 2}, 12, nullptr, nullptr, 1, nullptr, kUntouched},
        {{0}, 12, nullptr, nullptr, 1, nullptr, kUntouched}, // the second byte is beyond the input
        // The environment's need room for their terminator, but do not count it.
        {{2}, 6, "12345", L"in the registry", 1, "12345", 5},
        {{2}, 5, "12345", nullptr, 0, nullptr, 5},
        {{2}, 0, "12345", nullptr, 0, nullptr, 5},
        // The registry's count it, and the size of the wide text decides; what does not fit is a success.
        {{2}, 20, nullptr, L"AB12", 1, "AB12", 5},
        {{2}, 19, nullptr, L"AB12", 1, nullptr, 19},
        {{2}, 400, nullptr, wide.c_str() + 1, 1, longest.c_str(), 50},
        {{2}, 400, nullptr, wide.c_str(), 0, nullptr, 0},
    };
    for (const auto& c : cases) {
        c.environment != nullptr ? setenv(kSerial, c.environment, 1) : unsetenv(kSerial);
        if (c.registry != nullptr)
            store(REG_SZ, std::wstring(c.registry) + L'\0');
        // Blocks of exactly the announced size, so that the sanitizer sees a byte too many.
        std::vector<BYTE> in = c.in;
        std::string out(c.room, '#'), zeros(c.room, '0');
        DWORD size = kUntouched;
        EXPECT_EQ(KernelIoControl(IOCTL_HAL_GET_DEVICEID, in.data(), static_cast<DWORD>(in.size()),
                                  c.room == 0 ? nullptr : out.data(), c.room, &size),
                  c.result);
        if (c.room != 0)
            zeros.back() = '\0';
        EXPECT_EQ(out, over(zeros, c.text)) << &c - cases;
        EXPECT_EQ(size, c.size) << &c - cases;
    }
}

TEST_F(DeviceParameters, MayLeaveTheBufferAsItWasAndEndWhereTheirDataEnds) {
    const auto get = [](std::string& buffer) {
        auto size = static_cast<DWORD>(buffer.size());
        const BOOL given = KaltoGetNvparm(kSerial, buffer.data(), &size);
        EXPECT_EQ(given, size != 0);
        return size;
    };
    std::string kept = over(std::string(10, '#'), "kept"), full = "####", room(400, '#');
    store(REG_SZ, std::wstring(L"AB12") + L'\0');
    EXPECT_EQ(get(kept), 5u);
    EXPECT_EQ(get(full), 5u) << "no terminator within the room";
    store(REG_DWORD, L"\xFFFFFFFF"); // no character in any encoding
    EXPECT_EQ(get(room), 0u);
    EXPECT_EQ(room, std::string(400, '#'));
    store(REG_BINARY, std::wstring(50, L'A')); // as long as can be read, without a terminator
    EXPECT_EQ(get(room), 51u);
    EXPECT_EQ(room, over(std::string(400, '#'), std::string(50, 'A').c_str()));
}

TEST_F(DeviceParameters, RefuseNullAndNeverWriteThroughASizeOfZero) {
    setenv(kSerial, "12345", 1);
    char out[8] = "#";
    BYTE in = 2;
    EXPECT_EQ(KernelIoControl(0, nullptr, 2, out, 2, nullptr), 0);
    EXPECT_EQ(KernelIoControl(0, &in, 1, out, 0, nullptr), 0);
    EXPECT_STREQ(out, "#");
    EXPECT_EQ(KernelIoControl(0, &in, 1, nullptr, 100, nullptr), 0);
    unsetenv(kSerial);
    for (int i = 0; i < 300; ++i) { // more than there are slots for open keys
        DWORD size = 100;
        ASSERT_EQ(KaltoGetNvparm(kSerial, nullptr, &size), 0);
        ASSERT_EQ(size, 0u);
    }
    const HKEY key = open_key(kKey);
    EXPECT_NE(key, nullptr) << "made by the first question";
    store(REG_SZ, std::wstring(L"AB12") + L'\0');
    DWORD size = 100;
    EXPECT_EQ(KaltoGetNvparm(kSerial, nullptr, &size), 1);
    EXPECT_EQ(size, 1u);
    EXPECT_EQ(KaltoGetNvparm(kSerial, nullptr, nullptr), 0);
    EXPECT_EQ(KaltoGetNvparm(nullptr, nullptr, &size), 0);
    EXPECT_EQ(size, 0u);
}

} // namespace
