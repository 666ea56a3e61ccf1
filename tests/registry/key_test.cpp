// Keys: paths, creating, closing, deleting, and handles used after their time.
#include "sandbox.h"

#include <clocale>

namespace {

class Key : public Sandbox {};

std::wstring nested(int levels) {
    std::wstring path;
    for (int i = 0; i < levels; ++i)
        path += L"\\d";
    return path;
}

TEST_F(Key, PathsNameKeysAsDescribed) {
    write_registry(
        "<k Name='HKEY_LOCAL_MACHINE'><k Name=''><k Name='in'/></k><k Name='Software'><k Name='a/b c'/>"
        "</k></k>");
    const struct {
        const wchar_t* path;
        LONG result;
    } cases[] = {{nullptr, 0},     {L"\\", 0},     {L"\\sOFTWARE\\", 0},      {L"Software\\A/B C", 0},
                 {L"\\\\", 0},     {L"\\\\in", 0}, {L"Software\\\\a/b c", 2}, {L"Software\\a", 2},
                 {L"Software2", 2}};
    for (const auto& c : cases)
        EXPECT_EQ(open_code(HKEY_LOCAL_MACHINE, c.path), c.result) << c.path;
    EXPECT_EQ(open_code(nullptr, L"HKEY_LOCAL_MACHINE"), 2) << "no parent is for creating only";
    EXPECT_EQ(create_code(nullptr, L"new_root"), 0);
    EXPECT_NE(read().find("<k Name=\"new_root\"/>"), std::string::npos);
}

TEST_F(Key, MissingRootIsCreatedInLowerCaseAndFoundInAnySpelling) {
    write_registry("<k Name='Hkey_Local_Machine'><k Name='x'/></k>");
    EXPECT_EQ(open_code(HKEY_LOCAL_MACHINE, L"x"), 0);
    for (HKEY root : {HKEY_CLASSES_ROOT, HKEY_CURRENT_USER, HKEY_USERS})
        EXPECT_EQ(open_code(root, L""), 0);
    EXPECT_EQ(
        read().substr(read().find("<Registry>")),
        "<Registry>\n<k Name=\"hkey_classes_root\"/>\n<k Name=\"hkey_current_user\"/>\n"
        "<k Name=\"Hkey_Local_Machine\">\n<k Name=\"x\"/>\n</k>\n<k Name=\"hkey_users\"/>\n</Registry>");
}

TEST_F(Key, WhatTheFileCannotHoldIsRefusedAndLeavesNothing) {
    const std::wstring longest(255, L'n');
    EXPECT_EQ(create_code(HKEY_USERS, longest), 0);
    EXPECT_EQ(create_code(HKEY_USERS, L"x\\" + longest + L"n"), 22);
    EXPECT_EQ(create_code(HKEY_USERS, std::wstring(128, L'\u00e9')), 22) << "255 bytes, not characters";
    EXPECT_EQ(create_code(HKEY_USERS, L"x\\<![CDATA[\"]]>"), 1016);
    EXPECT_EQ(create_code(HKEY_USERS, nested(63)), 22);
    HKEY users = open_key(L"", HKEY_USERS);
    EXPECT_EQ(sub_keys(users), std::vector<std::wstring>{longest}) << "nothing of a path was created";

    HKEY deepest = create_key(nested(62).c_str(), HKEY_USERS);
    EXPECT_EQ(set_number(deepest, L"n", 6), 0);
    EXPECT_EQ(create_code(deepest, L"d"), 22);
    EXPECT_EQ(RegCloseKey(deepest) + RegCloseKey(users), 0);
    EXPECT_TRUE(g_log.empty());
    EXPECT_EQ(in_child([] { return get_number(open_key(nested(62).c_str(), HKEY_USERS), L"n") == 6; }), 1);
}

TEST_F(Key, AKeyTooDeepForContentIsReadButGetsNone) {
    std::string inside = "<k Name='d'/>";
    for (int i = 0; i < 63; ++i)
        inside = (i < 62 ? "<k Name='d'>" : "<k Name='HKEY_USERS'>") + inside + "</k>";
    write_registry(inside);
    HKEY key = open_key(nested(63).c_str(), HKEY_USERS);
    ASSERT_NE(key, nullptr);
    EXPECT_EQ(set_number(key, L"n", 1), 22);
}

TEST_F(Key, TextThatTheLocaleCannotExpressIsRefused) {
    setlocale(LC_ALL, "C");
    HKEY key = create_key(L"k", HKEY_USERS);
    EXPECT_EQ(create_code(key, L"\u20ac"), 1016);
    EXPECT_EQ(set_string(key, L"old", L"text"), 0);
    EXPECT_EQ(set_string(key, L"old", L"\u20ac"), 1016);
    EXPECT_EQ(get_string(key, L"old"), L"text");
    EXPECT_EQ(set_string(key, L"new", L"\u20ac"), 1016);
    EXPECT_EQ(get_string(key, L"new"), L"error 2");
    EXPECT_EQ(set_string(key, L"\u20ac", L"text"), 1016);
}

TEST_F(Key, TableHolds256Keys) {
    std::vector<HKEY> keys(256);
    for (HKEY& key : keys)
        key = open_key(L"Software");
    HKEY extra = HKEY_USERS;
    EXPECT_EQ(RegOpenKeyEx(HKEY_LOCAL_MACHINE, L"missing", 0, 0, &extra), 2);
    EXPECT_EQ(extra, HKEY_USERS) << "a failed walk writes nothing";
    EXPECT_EQ(RegOpenKeyEx(HKEY_LOCAL_MACHINE, L"Software", 0, 0, &extra), 2);
    EXPECT_EQ(extra, nullptr);
    EXPECT_EQ(RegCloseKey(keys[100]), 0);
    keys[100] = open_key(L"Software");
    for (HKEY key : keys)
        EXPECT_EQ(RegCloseKey(key), 0);
}

TEST_F(Key, DeletedKeyIsGoneForItsHandleAndFromTheFile) {
    HKEY parent = create_key(L"a", HKEY_USERS);
    HKEY child = create_key(L"a\\b\\c", HKEY_USERS);
    EXPECT_EQ(set_number(child, L"n", 1), 0);
    EXPECT_EQ(RegDeleteKey(parent, L""), 2);
    EXPECT_EQ(RegDeleteKey(parent, std::wstring(256, L'n').c_str()), 2) << "whatever is wrong with the path";
    EXPECT_EQ(RegDeleteKeyEx(parent, L"b", 0, 0), 0);
    EXPECT_EQ(RegDeleteKey(parent, L"b"), 2);
    EXPECT_EQ(get_number(child, L"n"), -1018);
    EXPECT_EQ(set_number(child, L"n", 2), 1018);
    EXPECT_EQ(open_code(child, L""), 0) << "as a parent it still serves";
    EXPECT_EQ(sub_key(parent, 0), L"end");

    HKEY again = create_key(L"a\\b", HKEY_USERS);
    EXPECT_EQ(sub_key(again, 0), L"end") << "a revived key is empty";
    EXPECT_EQ(get_number(child, L"n"), -1018);
    EXPECT_EQ(RegCloseKey(again) + RegCloseKey(child) + RegCloseKey(parent), 0);
    EXPECT_NE(read().find("\"b\"/>"), std::string::npos);
    EXPECT_EQ(read().find("\"c\""), std::string::npos);
}

TEST_F(Key, HandlesUsedAfterTheirTimeAreRefused) {
    HKEY closed = create_key(L"k", HKEY_USERS);
    HKEY open = create_key(L"k", HKEY_USERS);
    EXPECT_EQ(RegCloseKey(closed), 0);
    for (HKEY key : {closed, HKEY{}, KALTO_POINTER_CAST(HKEY, 5)}) {
        EXPECT_EQ(RegCloseKey(key), 2);
        EXPECT_EQ(get_number(key, L"n"), -2);
        EXPECT_EQ(open_code(key, L""), 2);
        EXPECT_EQ(RegDeleteKey(key, L"x"), 2);
    }
    EXPECT_EQ(create_code(closed, L"x"), 2);
    EXPECT_EQ(RegCloseKey(open), 0);
}

// Closing a predefined key lowers the count below the number of open keys, so that a save ends the cycle
// under an open key and the next one clears the table. That is meant; reading freed memory is not.
TEST_F(Key, KeysThatAClosedRootTookOutOfTheTableAreRefusedSafely) {
    EXPECT_EQ(RegCloseKey(HKEY_USERS), 0);
    HKEY deleted = create_key(L"a\\b", HKEY_USERS);
    EXPECT_EQ(get_number(deleted, L"n"), -2) << "still registered: the value is missing";
    HKEY kept = create_key(L"a", HKEY_USERS);
    EXPECT_EQ(RegCloseKey(deleted), 2) << "the new cycle cleared the table";
    EXPECT_EQ(open_code(deleted, L""), 0) << "as a parent it still serves";
    EXPECT_EQ(RegCloseKey(HKEY_USERS), 0);
    EXPECT_EQ(RegDeleteKey(HKEY_USERS, L"a"), 0);
    EXPECT_EQ(open_code(deleted, L""), 1018) << "its element was purged";
    EXPECT_EQ(open_code(kept, L""), 1018);

    write_registry("<k Name='HKEY_USERS'><k Name='a'/></k>");
    set_time(time(nullptr) + 100, 0);
    EXPECT_EQ(open_code(HKEY_USERS, L"a"), 0);
    EXPECT_EQ(open_code(deleted, L""), 1018) << "its document was dropped";
    // Of many forgotten cursors the oldest are freed. Their addresses may serve again, so all that can be
    // asked is that using one is safe.
    for (int i = 0; i < 300; ++i) {
        EXPECT_NE(create_key(L"a", HKEY_USERS), nullptr);
        RegCloseKey(HKEY_USERS);
    }
    open_code(deleted, L"");
}

} // namespace
