// Values: what is stored, what comes back, and every size of buffer.
#include "sandbox.h"

#include <cstring>

namespace {

class Value : public Sandbox {};

TEST_F(Value, StoredTextFollowsTheType) {
    static constexpr wchar_t kText[] = L"<\"&'> \u20ac\n\t'<![CDATA[ < ]]> <![CDATA[ \"";
    HKEY key = create_key(L"k", HKEY_USERS);
    BYTE bytes[3 * sizeof(wchar_t) + 1] = {0xDE, 0xAD, 0x01};
    EXPECT_EQ(set_number(key, L"five", 5), 0);
    EXPECT_EQ(RegSetValueEx(key, L"bin", 0, REG_BINARY, bytes, 3), 0);
    EXPECT_EQ(RegSetValueEx(key, L"none", 0, REG_BINARY, bytes, 0), 0);
    EXPECT_EQ(RegSetValueEx(key, L"nothing", 0, REG_SZ, nullptr, 0), 0);
    // A string is taken to its end, whatever the size and the alignment.
    EXPECT_EQ(RegSetValueEx(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(kText), 4), 0);
    memcpy(bytes + 1, L"hi", 3 * sizeof(wchar_t));
    EXPECT_EQ(RegSetValueEx(key, L"shifted", 0, REG_SZ, bytes + 1, 12), 0);
    EXPECT_EQ(RegCloseKey(key), 0);
    const std::string text = read();
    for (const char* line : {"<v Name=\"five\" value=\"   5\" type=\"REG_DWORD\"/>",
                             "<v Name=\"bin\" value=\"de ad 01\" type=\"REG_BINARY\"/>",
                             "<v Name=\"none\" value=\"\" type=\"REG_BINARY\"/>",
                             "<v Name=\"nothing\" value=\"\" type=\"REG_SZ\"/>",
                             "<v Name=\"shifted\" value=\"hi\" type=\"REG_SZ\"/>",
                             "<v Name=\"(default)\" value=\"&lt;&quot;&amp;&apos;&gt; \u20ac\n\t"})
        EXPECT_NE(text.find(line), std::string::npos) << line << "\n" << text;
    EXPECT_EQ(in_child([] {
                  HKEY again = open_key(L"k", HKEY_USERS);
                  EXPECT_EQ(get_string(again, L""), kText);
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

TEST_F(Value, WhatCannotBeStoredIsRefusedAndTheOldDataStays) {
    HKEY key = create_key(L"k", HKEY_USERS);
    const BYTE data[8] = {1, 0, 0, 0};
    DWORD type = 99;
    EXPECT_EQ(RegSetValueEx(key, L"expand", 0, REG_EXPAND_SZ, data, 8), 2);
    EXPECT_EQ(RegQueryValueEx(key, L"expand", nullptr, &type, nullptr, nullptr), 0)
        << "it exists all the same";
    EXPECT_EQ(type, DWORD{0});
    EXPECT_EQ(set_number(key, L"n", 7), 0);
    EXPECT_EQ(RegSetValueEx(key, L"n", 0, REG_DWORD, data, 3), 22);
    EXPECT_EQ(RegSetValueEx(key, L"n", 0, REG_DWORD, data, 8), 22);
    EXPECT_EQ(RegSetValueEx(key, L"n", 0, REG_BINARY, nullptr, 3), 22);
    // Written as it stands, this would end the attribute and make the file unreadable.
    EXPECT_EQ(set_string(key, L"n", L"a<![CDATA[ \" ]]>"), 1016);
    EXPECT_EQ(set_string(key, L"n", L"<![CDATA[ &lt; ]]>"), 1016);
    RegCloseKey(key);
    EXPECT_TRUE(g_log.empty());
    EXPECT_EQ(in_child([] { return static_cast<int>(get_number(open_key(L"k", HKEY_USERS), L"n")); }), 7);
}

TEST_F(Value, EnumerationGoesByNameAndGivesByteLengths) {
    HKEY key = create_key(L"k", HKEY_USERS);
    for (const wchar_t* name : {L"beta", L"Alpha", L"gamma", L"\u20ac", L"omega"})
        EXPECT_EQ(create_code(key, name), 0);
    EXPECT_EQ(RegDeleteKey(key, L"omega"), 0);
    EXPECT_EQ(set_number(key, L"BETA", 7), 0);
    EXPECT_EQ(set_string(key, nullptr, L"abc"), 0);
    EXPECT_EQ(sub_keys(key), (std::vector<std::wstring>{L"Alpha", L"beta", L"gamma", L"\u20ac"}));

    wchar_t name[16];
    DWORD length = 0;
    const auto key_at = [&](DWORD index, DWORD room) {
        std::fill(std::begin(name), std::end(name), L'#');
        length = room;
        return RegEnumKeyEx(key, index, name, &length, nullptr, nullptr, nullptr, nullptr);
    };
    EXPECT_EQ(key_at(1, 4), 22);
    EXPECT_EQ(length, DWORD{4});
    EXPECT_EQ(name[0], L'#');
    EXPECT_EQ(key_at(1, 5), 0);
    EXPECT_EQ(key_at(3, 4), 0);
    EXPECT_EQ(length, DWORD{3}) << "one character of three bytes";
    EXPECT_EQ(std::wstring(name, 5), std::wstring(L"\u20ac\0\0\0#", 5));
    EXPECT_EQ(key_at(4, 16), 2) << "not 259";

    DWORD type = 0;
    BYTE data[16];
    DWORD size = 2;
    const auto value_at = [&](DWORD index) {
        length = 16;
        return RegEnumValue(key, index, name, &length, nullptr, &type, data, &size);
    };
    EXPECT_EQ(value_at(0), 90);
    EXPECT_STREQ(name, L"(default)");
    EXPECT_EQ(size, DWORD{16});
    EXPECT_EQ(value_at(1), 0);
    EXPECT_STREQ(name, L"BETA");
    EXPECT_EQ(type, DWORD{REG_DWORD});
    EXPECT_EQ(value_at(2), 2);

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
    for (const wchar_t* name : {L"b", L"c", L"d"})
        EXPECT_EQ(create_code(key, name), 0);
    EXPECT_EQ(sub_key(key, 1), L"c");
    EXPECT_EQ(RegDeleteKey(key, L"b"), 0);
    EXPECT_EQ(sub_key(key, 1), L"d");
    EXPECT_EQ(create_code(key, L"a"), 0);
    EXPECT_EQ(sub_key(key, 2), L"d");
    EXPECT_EQ(create_code(key, L"b"), 0);
    EXPECT_EQ(sub_key(key, 2), L"c") << "b was revived";
    EXPECT_EQ(sub_key(key, 4), L"end");
}

} // namespace
