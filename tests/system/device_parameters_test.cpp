#include "tests/registry/sandbox.h"

#include <cstdlib>
#include <kalto/system.h>
#include <pkfuncs.h>
#include <pthread.h>

namespace {

constexpr char kSerial[] = "QRD_NVPARM_SERIAL_NUM";
constexpr wchar_t kKey[] = L"SOFTWARE\\Velmoran\\NVPARM";
constexpr DWORD kUntouched = 4711;

void store(DWORD type, const void* data, size_t size) {
    const HKEY key = create_key(kKey);
    ASSERT_EQ(RegSetValueEx(key, L"QRD_NVPARM_SERIAL_NUM", 0, type, static_cast<const BYTE*>(data),
                            static_cast<DWORD>(size)),
              0);
    RegCloseKey(key);
}

void store(const std::wstring& text) {
    store(REG_SZ, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
}

struct Answer {
    BOOL result;
    std::string buffer; // the whole of it, what stands behind the terminator included
    DWORD size;
};

// The buffer is a block of exactly the announced size, so that the sanitizer sees a byte too many.
Answer ask(const std::vector<BYTE>& in, DWORD out_size) {
    std::vector<char> out(out_size, '#');
    DWORD size = kUntouched;
    std::vector<BYTE> selector = in;
    const BOOL result =
        KernelIoControl(IOCTL_HAL_GET_DEVICEID, selector.data(), static_cast<DWORD>(in.size()),
                        out_size == 0 ? nullptr : out.data(), out_size, &size);
    return {result, {out.begin(), out.end()}, size};
}

Answer get(const char* name, std::string buffer) {
    auto size = static_cast<DWORD>(buffer.size());
    std::vector<char> block(buffer.begin(), buffer.end());
    const BOOL result = KaltoGetNvparm(name, block.data(), &size);
    return {result, {block.begin(), block.end()}, size};
}

std::string terminated(std::string text, size_t size, char fill) {
    text.push_back('\0');
    text.resize(std::max(size, text.size()), fill);
    return text;
}

} // namespace

class DeviceParameters : public Sandbox {
  protected:
    ~DeviceParameters() override {
        for (const char* name : {kSerial, "QRD_NVPARM_MCODE", "QRD_NVPARM_MANU_FLAGS"}) {
            unsetenv(name);
        }
    }
};

TEST_F(DeviceParameters, AreSelectedByTheFirstNonzeroOfTwoBytes) {
    setenv(kSerial, "serial", 1);
    setenv("QRD_NVPARM_MCODE", "mcode", 1);
    setenv("QRD_NVPARM_MANU_FLAGS", "flags", 1);
    const struct {
        std::vector<BYTE> in;
        const char* text; // null: no parameter is selected
    } cases[] = {
        {{2}, "serial"}, {{10, 2}, "mcode"}, {{0, 39, 2}, "flags"},
        {{7}, nullptr},  {{11, 2}, nullptr}, {{0, 0, 2, 0}, nullptr},
    };
    for (const auto& item : cases) {
        const Answer answer = ask(item.in, 12);
        EXPECT_EQ(answer.result, 1);
        if (item.text != nullptr) {
            EXPECT_STREQ(answer.buffer.c_str(), item.text);
            EXPECT_EQ(answer.size, strlen(item.text));
        } else {
            EXPECT_EQ(answer.buffer, terminated(std::string(11, '0'), 12, '0'));
            EXPECT_EQ(answer.size, kUntouched);
        }
    }
    BYTE in[2] = {0, 2};
    char out[2] = {'#', '#'};
    EXPECT_EQ(KernelIoControl(0, in, 1, out, 2, nullptr), 1) << "the second byte is beyond the input";
    EXPECT_STREQ(out, "0");
    EXPECT_EQ(KernelIoControl(0, nullptr, 2, out, 0, nullptr), 0);
    EXPECT_STREQ(out, "0");
}

TEST_F(DeviceParameters, OfTheEnvironmentNeedRoomForTheirTerminatorButDoNotCountIt) {
    setenv(kSerial, "12345", 1);
    store(L"in the registry");
    const struct {
        DWORD room;
        BOOL result;
        std::string buffer;
    } cases[] = {
        {16, 1, terminated("12345", 15, '0') + '\0'},
        {6, 1, terminated("12345", 6, '0')},
        {5, 0, terminated("0000", 5, '0')},
        {1, 0, std::string(1, '\0')},
        {0, 0, ""},
    };
    for (const auto& item : cases) {
        const Answer answer = ask({2}, item.room);
        EXPECT_EQ(answer.result, item.result) << item.room;
        EXPECT_EQ(answer.buffer, item.buffer) << item.room;
        EXPECT_EQ(answer.size, 5u) << item.room;
    }
    char out[8] = "#";
    BYTE in = 2;
    EXPECT_EQ(KernelIoControl(0, &in, 1, out, 0, nullptr), 0) << "an output size of 0";
    EXPECT_STREQ(out, "#");
    DWORD size = 100;
    EXPECT_EQ(KernelIoControl(0, &in, 1, nullptr, 100, &size), 0) << "a null buffer";
    EXPECT_EQ(size, 5u);
    setenv(kSerial, "", 1);
    EXPECT_EQ(get(kSerial, "####").buffer, terminated("", 4, '#')) << "an empty text is an answer";
}

// The size of the wide text decides, and what does not fit leaves the buffer as it was.
TEST_F(DeviceParameters, OfTheRegistryCountTheirTerminatorAndSucceedWhereTheyDoNotFit) {
    store(L"AB12");
    EXPECT_EQ(ask({2}, 20).buffer, terminated("AB12", 19, '0') + '\0');
    EXPECT_EQ(ask({2}, 20).size, 5u);
    const Answer small = ask({2}, 19);
    EXPECT_EQ(small.result, 1);
    EXPECT_EQ(small.buffer, terminated(std::string(18, '0'), 19, '0'));
    EXPECT_EQ(small.size, 19u);
    EXPECT_EQ(get(kSerial, terminated("kept", 10, '#')).size, 5u);
    EXPECT_EQ(get(kSerial, "####").size, 5u) << "no terminator within the room";

    DWORD size = 100;
    EXPECT_EQ(KaltoGetNvparm(kSerial, nullptr, &size), 1);
    EXPECT_EQ(size, 1u);
    EXPECT_EQ(KaltoGetNvparm(kSerial, nullptr, nullptr), 0);
    size = 100;
    EXPECT_EQ(KaltoGetNvparm(nullptr, nullptr, &size), 0);
    EXPECT_EQ(size, 0u);
}

TEST_F(DeviceParameters, OfTheRegistryHave49CharactersAtMostAndEndWhereTheirDataEnds) {
    const std::string room(400, '#');
    store(std::wstring(49, L'x'));
    EXPECT_EQ(get(kSerial, room).buffer, terminated(std::string(49, 'x'), 400, '#'));
    store(REG_BINARY, std::wstring(50, L'A').data(), 200); // as long as can be read, without a terminator
    EXPECT_EQ(get(kSerial, room).buffer, terminated(std::string(50, 'A'), 400, '#'));
    const auto refused = [&] {
        const Answer answer = get(kSerial, room);
        return answer.result == 0 && answer.size == 0 && answer.buffer == room;
    };
    store(std::wstring(50, L'x'));
    EXPECT_TRUE(refused());
    store(REG_DWORD, "\xFF\xFF\xFF\xFF", 4); // no character in any encoding
    EXPECT_TRUE(refused());
}

TEST_F(DeviceParameters, ThatAreMissingFailAndTheirKeyIsMadeAndClosed) {
    for (int i = 0; i < 300; ++i) { // more than there are slots for open keys
        const Answer answer = ask({39}, 4);
        ASSERT_EQ(answer.result, 0);
        ASSERT_EQ(answer.size, 0u);
        ASSERT_EQ(answer.buffer, terminated("000", 4, '0'));
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
