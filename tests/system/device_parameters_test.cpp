#include "tests/registry/sandbox.h"

#include <cstdlib>
#include <kalto/system.h>
#include <pkfuncs.h>
#include <pthread.h>

namespace {

constexpr char kSerial[] = "QRD_NVPARM_SERIAL_NUM";
constexpr wchar_t kKey[] = L"SOFTWARE\\Velmoran\\NVPARM";
constexpr DWORD kUntouched = 4711;

class DeviceParameters : public Sandbox {
  protected:
    static void store(DWORD type, const void* data, size_t size) {
        const HKEY key = create_key(kKey);
        RegSetValueEx(key, L"QRD_NVPARM_SERIAL_NUM", 0, type, static_cast<const BYTE*>(data),
                      static_cast<DWORD>(size));
        RegCloseKey(key);
    }
    static void store(const std::wstring& text) {
        store(REG_SZ, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
    }
};

struct Answer {
    BOOL result;
    std::string buffer; // the whole of it, what stands behind the terminator included
    DWORD size;
};

// The buffers are blocks of exactly the announced size, so that the sanitizer sees a byte too many.
Answer ask(std::vector<BYTE> in, DWORD room) {
    std::vector<char> out(room, '#');
    DWORD size = kUntouched;
    const BOOL result = KernelIoControl(IOCTL_HAL_GET_DEVICEID, in.data(), static_cast<DWORD>(in.size()),
                                        room == 0 ? nullptr : out.data(), room, &size);
    return {result, {out.begin(), out.end()}, size};
}

Answer get(const char* name, const std::string& buffer) {
    auto size = static_cast<DWORD>(buffer.size());
    std::vector<char> block(buffer.begin(), buffer.end());
    const BOOL result = KaltoGetNvparm(name, block.data(), &size);
    return {result, {block.begin(), block.end()}, size};
}

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
        {{7}, 12, nullptr, nullptr, 1, nullptr, kUntouched},
        {{11, 2}, 12, nullptr, nullptr, 1, nullptr, kUntouched},
        {{0}, 12, nullptr, nullptr, 1, nullptr, kUntouched}, // the second byte is beyond the input
        {{0, 0, 2, 0}, 12, nullptr, nullptr, 1, nullptr, kUntouched},
        // The environment's need room for their terminator, but do not count it.
        {{2}, 16, "12345", L"in the registry", 1, "12345", 5},
        {{2}, 6, "12345", nullptr, 1, "12345", 5},
        {{2}, 5, "12345", nullptr, 0, nullptr, 5},
        {{2}, 0, "12345", nullptr, 0, nullptr, 5},
        {{2}, 4, "", nullptr, 1, "", 0},
        // The registry's count it, and the size of the wide text decides; what does not fit is a success.
        {{2}, 20, nullptr, L"AB12", 1, "AB12", 5},
        {{2}, 19, nullptr, L"AB12", 1, nullptr, 19},
        {{2}, 400, nullptr, wide.c_str() + 1, 1, longest.c_str(), 50},
        {{2}, 400, nullptr, wide.c_str(), 0, nullptr, 0},
    };
    for (const auto& c : cases) {
        c.environment != nullptr ? setenv(kSerial, c.environment, 1) : unsetenv(kSerial);
        if (c.registry != nullptr)
            store(c.registry);
        const Answer answer = ask(c.in, c.room);
        EXPECT_EQ(answer.result, c.result) << &c - cases;
        std::string zeros(c.room, '0');
        if (c.room != 0)
            zeros.back() = '\0';
        EXPECT_EQ(answer.buffer, over(zeros, c.text)) << &c - cases;
        EXPECT_EQ(answer.size, c.size) << &c - cases;
    }
}

TEST_F(DeviceParameters, MayLeaveTheBufferAsItWasAndEndWhereTheirDataEnds) {
    const std::string room(400, '#');
    store(L"AB12");
    EXPECT_EQ(get(kSerial, over(std::string(10, '#'), "kept")).size, 5u);
    EXPECT_EQ(get(kSerial, "####").size, 5u) << "no terminator within the room";
    store(REG_BINARY, std::wstring(50, L'A').data(), 200); // as long as can be read, without a terminator
    EXPECT_EQ(get(kSerial, room).buffer, over(room, std::string(50, 'A').c_str()));
    store(REG_DWORD, "\xFF\xFF\xFF\xFF", 4); // no character in any encoding
    const Answer refused = get(kSerial, room);
    EXPECT_EQ(refused.result, 0);
    EXPECT_EQ(refused.size, 0u);
    EXPECT_EQ(refused.buffer, room);
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
    store(L"AB12");
    DWORD size = 100;
    EXPECT_EQ(KaltoGetNvparm(kSerial, nullptr, &size), 1);
    EXPECT_EQ(size, 1u);
    EXPECT_EQ(KaltoGetNvparm(kSerial, nullptr, nullptr), 0);
    EXPECT_EQ(KaltoGetNvparm(nullptr, nullptr, &size), 0);
    EXPECT_EQ(size, 0u);
}

TEST_F(DeviceParameters, ThatAreMissingFailAndTheirKeyIsMadeAndClosed) {
    for (int i = 0; i < 300; ++i) { // more than there are slots for open keys
        const Answer answer = ask({2}, 4);
        ASSERT_EQ(answer.result, 0);
        ASSERT_EQ(answer.size, 0u);
    }
    const HKEY key = open_key(kKey);
    EXPECT_NE(key, nullptr);
    RegCloseKey(key);
}

TEST_F(DeviceParameters, GiveNothingAwayWhenTheThreadThatWaitsForThemIsTerminated) {
    store(L"AB12");
    ASSERT_EQ(LockRegistry(), 1);
    pthread_t thread = {};
    const auto wait = [](void*) -> void* {
        get(kSerial, std::string(100, '#'));
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, nullptr, wait, nullptr), 0);
    ASSERT_EQ(pthread_cancel(thread), 0);
    void* result = nullptr;
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    UnlockRegistry();
    EXPECT_EQ(get(kSerial, std::string(100, '#')).size, 5u);
}

} // namespace
