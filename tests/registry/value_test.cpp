// Values: what is stored, what comes back, and every size of buffer.
#include "sandbox.h"

#include <cstring>

namespace {

class Value : public Sandbox {};

constexpr wchar_t kPoison = L'\x7F7F';

TEST_F(Value, StoredTextFollowsTheType) {
    HKEY key = create_key(L"k", HKEY_USERS);
    const DWORD five = 5;
    const BYTE bytes[] = {0xDE, 0xAD, 0x01};
    EXPECT_EQ(RegSetValueEx(key, L"five", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&five), 4), 0);
    EXPECT_EQ(RegSetValueEx(key, L"bin", 0, REG_BINARY, bytes, 3), 0);
    EXPECT_EQ(RegSetValueEx(key, L"none", 0, REG_BINARY, bytes, 0), 0);
    EXPECT_EQ(RegSetValueEx(key, L"nothing", 0, REG_SZ, nullptr, 0), 0);
    EXPECT_EQ(set_string(key, nullptr, L"<\"&'> \u20ac\n\t"), 0);
    EXPECT_EQ(RegCloseKey(key), 0);
    const std::string text = read();
    for (const char* line :
         {"<v Name=\"five\" value=\"   5\" type=\"REG_DWORD\"/>",
          "<v Name=\"bin\" value=\"de ad 01\" type=\"REG_BINARY\"/>",
          "<v Name=\"none\" value=\"\" type=\"REG_BINARY\"/>",
          "<v Name=\"nothing\" value=\"\" type=\"REG_SZ\"/>",
          "<v Name=\"(default)\" value=\"&lt;&quot;&amp;&apos;&gt; \u20ac\n\t\" type=\"REG_SZ\"/>"})
        EXPECT_NE(text.find(line), std::string::npos) << line << "\n" << text;
    EXPECT_EQ(in_child([] {
                  HKEY again = open_key(L"k", HKEY_USERS);
                  EXPECT_EQ(get_string(again, L""), L"<\"&'> \u20ac\n\t");
                  return static_cast<int>(get_number(again, L"FIVE"));
              }),
              5);
}

TEST_F(Value, ReadingFillsEveryBufferAsDescribed) {
    write_registry(
        "<k Name='HKEY_USERS'>"
        "<v Name='bad' value='zz 1' type='REG_BINARY'/><v Name='big' value='  123456789' "
        "type='REG_DWORD'/><v Name='bin' value='DE ad 01' type='reg_binary'/>"
        "<v Name='e' value='' type='REG_BINARY'/>"
        "<v Name='euro' value='\u20ac' type='REG_SZ'/><v Name='minus' value='-5' type='REG_DWORD'/>"
        "<v Name='num' value='   5' type='REG_DWORD'/><v Name='odd' value='x' type='REG_QWORD'/>"
        "<v Name='sz' value='abc' type='Reg_Sz'/><v Name='untyped'/></k>");
    constexpr BYTE P = 0x7F; // not written
    constexpr DWORD kNoBuffer = 1000;
    const struct {
        const wchar_t* name;
        DWORD given; // kNoBuffer + size: no buffer
        LONG result;
        DWORD type;
        DWORD size;
        std::vector<BYTE> written;
    } cases[] = {
        {L"sz", 8, 90, REG_SZ, 16, {'a', 0, 0, 0, 'b', 0, 0, 0, P}},
        {L"sz", 3, 90, REG_SZ, 16, {P}},
        {L"sz", 0, 90, REG_SZ, 16, {P}},
        {L"sz", 16, 0, REG_SZ, 16, {'a', 0, 0, 0, 'b', 0, 0, 0, 'c', 0, 0, 0, 0, 0, 0, 0, P}},
        {L"sz", 23, 0, REG_SZ, 16, {'a', 0, 0, 0, 'b', 0, 0, 0, 'c', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, P}},
        {L"sz", kNoBuffer, 90, REG_SZ, 16, {P}},
        {L"sz", kNoBuffer + 16, 0, REG_SZ, 16, {P}},
        {L"euro", 16, 0, REG_SZ, 16, {0xAC, 0x20, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, P}},
        {L"num", 0, 90, REG_DWORD, 4, {P}},
        {L"num", 1, 90, REG_DWORD, 4, {5, P}},
        {L"num", 3, 90, REG_DWORD, 4, {5, 0, 0, P}},
        {L"num", 4, 0, REG_DWORD, 4, {5, 0, 0, 0, P}},
        {L"num", 9, 0, REG_DWORD, 4, {5, 0, 0, 0, P}},
        {L"num", kNoBuffer, 90, REG_DWORD, 4, {P}},
        {L"big", 4, 0, REG_DWORD, 4, {0xFF, 0xFF, 0xFF, 0xFF, P}},
        {L"minus", 4, 0, REG_DWORD, 4, {0xFB, 0xFF, 0xFF, 0xFF, P}},
        {L"bin", 3, 0, REG_BINARY, 3, {0xDE, 0xAD, 1, P}},
        {L"bin", 8, 0, REG_BINARY, 3, {0xDE, 0xAD, 1, P}},
        {L"bin", 2, 90, REG_BINARY, 3, {0xDE, 0xAD, P}},
        {L"bin", 0, 90, REG_BINARY, 3, {P}},
        {L"bin", kNoBuffer, 0, REG_BINARY, 3, {P}},
        {L"e", 8, 0, REG_BINARY, 0, {P}},
        {L"e", kNoBuffer + 8, 0, REG_BINARY, 1, {P}},
        {L"bad", 8, 0, REG_BINARY, 2, {0, 1, P}},
        {L"odd", 8, 0, 0, 8, {P}},
        {L"untyped", 8, 0, 0, 8, {P}},
        {L"missing", 8, 2, 99, 8, {P}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(&c - cases));
        alignas(wchar_t) BYTE buffer[64];
        memset(buffer, P, sizeof buffer);
        const bool no_buffer = c.given >= kNoBuffer;
        DWORD size = no_buffer ? c.given - kNoBuffer : c.given;
        DWORD type = 99;
        EXPECT_EQ(RegQueryValueEx(HKEY_USERS, c.name, nullptr, &type, no_buffer ? nullptr : buffer, &size),
                  c.result);
        EXPECT_EQ(type, c.type);
        EXPECT_EQ(size, c.size);
        EXPECT_EQ(std::vector<BYTE>(buffer, buffer + c.written.size()), c.written);
        memset(buffer, P, sizeof buffer);
        EXPECT_EQ(RegQueryValueEx(HKEY_USERS, c.name, nullptr, &type, buffer, nullptr),
                  c.result == 2 ? 2 : 0);
        EXPECT_EQ(buffer[0], P) << "without a size nothing is read";
    }
}

TEST_F(Value, WhatCannotBeStoredIsRefused) {
    HKEY key = create_key(L"k", HKEY_USERS);
    const BYTE data[8] = {1, 0, 0, 0};
    DWORD type = 99;
    EXPECT_EQ(RegSetValueEx(key, L"short", 0, REG_DWORD, data, 3), 22);
    EXPECT_EQ(RegSetValueEx(key, L"expand", 0, REG_EXPAND_SZ, data, 8), 2);
    EXPECT_EQ(RegQueryValueEx(key, L"expand", nullptr, &type, nullptr, nullptr), 0)
        << "it exists all the same";
    EXPECT_EQ(type, DWORD{0});
    EXPECT_EQ(RegSetValueEx(key, L"null", 0, REG_BINARY, nullptr, 3), 22);
    EXPECT_EQ(set_number(key, L"n", 7), 0);
    EXPECT_EQ(RegSetValueEx(key, L"n", 0, REG_DWORD, data, 8), 22);
    EXPECT_EQ(get_number(key, L"n"), 7);
    // Written as it stands, this would end the attribute and make the file unreadable.
    EXPECT_EQ(set_string(key, L"n", L"a<![CDATA[ \" ]]>"), 1016);
    EXPECT_EQ(set_string(key, L"n", L"<![CDATA[ &lt; ]]>"), 1016);
    EXPECT_EQ(get_number(key, L"n"), 7);
    EXPECT_EQ(set_string(key, L"plain", L"'<![CDATA[ < ]]> <![CDATA[ \""), 0);
    RegCloseKey(key);
    EXPECT_TRUE(g_log.empty());
    EXPECT_EQ(in_child([] {
                  HKEY again = open_key(L"k", HKEY_USERS);
                  EXPECT_EQ(get_string(again, L"plain"), L"'<![CDATA[ < ]]> <![CDATA[ \"");
                  return static_cast<int>(get_number(again, L"n"));
              }),
              7);
}

TEST_F(Value, StringIsTakenToItsEndWhateverTheSizeAndTheAlignment) {
    HKEY key = create_key(L"k", HKEY_USERS);
    EXPECT_EQ(RegSetValueEx(key, L"s", 0, REG_SZ, reinterpret_cast<const BYTE*>(L"\u20ac\u20acxyz"), 4), 0);
    EXPECT_EQ(get_string(key, L"s"), L"\u20ac\u20acxyz");
    BYTE shifted[3 * sizeof(wchar_t) + 1];
    memcpy(shifted + 1, L"hi", 3 * sizeof(wchar_t));
    EXPECT_EQ(RegSetValueEx(key, L"s", 0, REG_SZ, shifted + 1, 12), 0);
    EXPECT_EQ(get_string(key, L"S"), L"hi");
    RegCloseKey(key);
}

TEST_F(Value, DeletedValueIsGoneAtOnceAndComesBackEmpty) {
    HKEY key = create_key(L"k", HKEY_USERS);
    EXPECT_EQ(set_number(key, nullptr, 1), 0);
    EXPECT_EQ(get_number(key, L"(DEFAULT)"), 1);
    EXPECT_EQ(RegDeleteValue(key, L""), 0);
    EXPECT_EQ(RegDeleteValue(key, L""), 2);
    EXPECT_EQ(get_number(key, nullptr), -2);
    EXPECT_EQ(set_number(key, nullptr, 2), 0);
    EXPECT_EQ(get_number(key, nullptr), 2);
    RegCloseKey(key);
}

TEST_F(Value, HundredsOfWritesKeepEveryValue) {
    HKEY key = create_key(L"k", HKEY_USERS);
    for (DWORD i = 0; i < 1000; ++i)
        EXPECT_EQ(set_number(key, (L"v" + std::to_wstring(i % 150)).c_str(), i), 0);
    for (DWORD i = 850; i < 1000; ++i)
        EXPECT_EQ(get_number(key, (L"v" + std::to_wstring(i % 150)).c_str()), static_cast<long long>(i));
    RegCloseKey(key);
}

TEST_F(Value, EnumerationGoesByNameAndGivesByteLengths) {
    HKEY key = create_key(L"k", HKEY_USERS);
    for (const wchar_t* name : {L"beta", L"Alpha", L"gamma", L"\u20ac"})
        RegCloseKey(create_key((std::wstring(L"k\\") + name).c_str(), HKEY_USERS));
    EXPECT_EQ(set_number(key, L"BETA", 7), 0);
    EXPECT_EQ(set_string(key, nullptr, L"abc"), 0);
    EXPECT_EQ(sub_keys(key), (std::vector<std::wstring>{L"Alpha", L"beta", L"gamma", L"\u20ac"}));

    wchar_t name[16];
    DWORD length = 5;
    const auto key_at = [&](DWORD index, DWORD room) {
        std::fill(std::begin(name), std::end(name), kPoison);
        length = room;
        return RegEnumKeyEx(key, index, name, &length, nullptr, nullptr, nullptr, nullptr);
    };
    EXPECT_EQ(key_at(1, 4), 22);
    EXPECT_EQ(length, DWORD{4});
    EXPECT_EQ(name[0], kPoison);
    EXPECT_EQ(key_at(1, 5), 0);
    EXPECT_EQ(length, DWORD{4});
    EXPECT_EQ(key_at(3, 4), 0);
    EXPECT_EQ(length, DWORD{3}) << "one character of three bytes";
    EXPECT_EQ(std::wstring(name, 5), std::wstring(L"\u20ac\0\0\0\x7F7F", 5));
    EXPECT_EQ(key_at(4, 16), 2) << "not 259";

    DWORD type = 0;
    BYTE data[16];
    DWORD size = 2;
    length = 16;
    EXPECT_EQ(RegEnumValue(key, 0, name, &length, nullptr, &type, data, &size), 90);
    EXPECT_EQ(std::wstring(name), L"(default)");
    EXPECT_EQ(size, DWORD{16});
    length = 16;
    EXPECT_EQ(RegEnumValue(key, 1, name, &length, nullptr, &type, data, &size), 0);
    EXPECT_EQ(std::wstring(name), L"BETA");
    EXPECT_EQ(type, DWORD{REG_DWORD});
    EXPECT_EQ(RegEnumValue(key, 2, name, &length, nullptr, &type, data, &size), 2);

    DWORD info[5] = {};
    DWORD untouched = 77;
    EXPECT_EQ(RegQueryInfoKey(key, name, &untouched, nullptr, &info[0], &info[1], &untouched, &info[2],
                              &info[3], &info[4], &untouched, nullptr),
              0);
    EXPECT_EQ(std::vector<DWORD>(info, info + 5), (std::vector<DWORD>{4, 5, 2, 9, 16}));
    EXPECT_EQ(untouched, DWORD{77});
    EXPECT_EQ(RegFlushKey(nullptr), 0);
    RegCloseKey(key);
    EXPECT_LT(read().find("<k Name=\"beta\"/>"), read().find("<v Name=\"BETA\""));
}

// An enumeration goes on from where it stood; a change in between must not make it miss or repeat what an
// index names.
TEST_F(Value, EnumerationFollowsChanges) {
    HKEY key = create_key(L"k", HKEY_USERS);
    for (const wchar_t* name : {L"k\\b", L"k\\c", L"k\\d"})
        RegCloseKey(create_key(name, HKEY_USERS));
    wchar_t name[16];
    const auto key_at = [&](DWORD index) {
        DWORD length = 16;
        const LONG error = RegEnumKeyEx(key, index, name, &length, nullptr, nullptr, nullptr, nullptr);
        return error == ERROR_SUCCESS ? std::wstring(name) : L"end";
    };
    EXPECT_EQ(key_at(1), L"c");
    EXPECT_EQ(RegDeleteKey(key, L"b"), 0);
    EXPECT_EQ(key_at(1), L"d");
    RegCloseKey(create_key(L"k\\a", HKEY_USERS));
    EXPECT_EQ(key_at(2), L"d");
    EXPECT_EQ(key_at(0), L"a");
    RegCloseKey(create_key(L"k\\b", HKEY_USERS));
    EXPECT_EQ(key_at(1), L"b") << "revived";
    EXPECT_EQ(key_at(3), L"d");
    EXPECT_EQ(key_at(4), L"end");
    RegCloseKey(key);
}

} // namespace
