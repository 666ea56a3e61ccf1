#include <climits>
#include <clocale>
#include <gtest/gtest.h>
#include <string>
#include <tchar.h>
#include <windows.h>

namespace {

TEST(FormatMessage, GivesTheSystemsText) {
    const struct {
        DWORD number;
        const wchar_t* text; // null: there is none
    } cases[] = {
        {0, L"Success\r\n"},
        {2, L"No such file or directory\r\n"},
        {static_cast<DWORD>(HRESULT_FROM_WIN32(2)), L"No such file or directory\r\n"},
        {ERROR_KEY_DELETED, L"The registry key was deleted\r\n"},
        {41, nullptr},
        {132, nullptr},
        {0x80004005u, nullptr},
    };
    for (const auto& c : cases) {
        LPWSTR text = nullptr;
        const DWORD length =
            FormatMessage(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM, nullptr, c.number, 0,
                          reinterpret_cast<LPWSTR>(&text), 100, nullptr);
        ASSERT_EQ(c.text == nullptr ? 0 : wcslen(c.text), length) << c.number;
        if (c.text == nullptr) {
            EXPECT_EQ(DWORD{ERROR_MR_MID_NOT_FOUND}, GetLastError());
            EXPECT_EQ(nullptr, text);
        } else {
            EXPECT_STREQ(c.text, text);
            EXPECT_LE(100 * sizeof(WCHAR), LocalSize(text));
            LocalFree(text);
        }
    }
    wchar_t buffer[26];
    const DWORD flags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_MAX_WIDTH_MASK;
    EXPECT_EQ(25u, FormatMessage(flags, nullptr, 2, 0, buffer, 26, nullptr));
    EXPECT_EQ(0u, FormatMessage(flags, nullptr, 2, 0, buffer, 25, nullptr));
    EXPECT_EQ(DWORD{ERROR_INSUFFICIENT_BUFFER}, GetLastError());
    EXPECT_EQ(0u, FormatMessage(FORMAT_MESSAGE_FROM_STRING, L"text", 0, 0, buffer, 26, nullptr));
    EXPECT_EQ(DWORD{ERROR_NOT_SUPPORTED}, GetLastError());
}

TEST(Environment, FollowsTheBufferProtocol) {
    wchar_t buffer[8] = L"kept";
    EXPECT_EQ(0u, GetEnvironmentVariable(L"KALTO_PORTING", buffer, 8));
    EXPECT_EQ(DWORD{ERROR_ENVVAR_NOT_FOUND}, GetLastError());
    EXPECT_TRUE(SetEnvironmentVariable(L"KALTO_PORTING", L"value"));
    EXPECT_EQ(6u, GetEnvironmentVariable(L"KALTO_PORTING", buffer, 5));
    EXPECT_STREQ(L"kept", buffer);
    EXPECT_EQ(6u, GetEnvironmentVariable(L"KALTO_PORTING", nullptr, 0));
    EXPECT_EQ(5u, GetEnvironmentVariable(L"KALTO_PORTING", buffer, 6));
    EXPECT_STREQ(L"value", buffer);
    wchar_t expanded[64];
    const struct {
        const wchar_t *text, *result;
    } cases[] = {
        {L"a %KALTO_PORTING% b", L"a value b"},
        {L"%no such%KALTO_PORTING%", L"%no suchvalue"},
        {L"100%", L"100%"},
        {L"%%", L"%%"},
        {L"", L""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(wcslen(c.result) + 1, ExpandEnvironmentStrings(c.text, expanded, 64)) << c.text;
        EXPECT_STREQ(c.result, expanded);
    }
    EXPECT_TRUE(SetEnvironmentVariable(L"KALTO_PORTING", L""));
    EXPECT_EQ(0u, GetEnvironmentVariable(L"KALTO_PORTING", buffer, 8));
    EXPECT_EQ(0u, GetLastError());
    EXPECT_TRUE(SetEnvironmentVariable(L"KALTO_PORTING", nullptr));
    EXPECT_EQ(nullptr, getenv("KALTO_PORTING"));
    EXPECT_FALSE(SetEnvironmentVariable(L"a=b", L""));
    EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, GetLastError());
}

TEST(Directories, ComeWithBackslashes) {
    wchar_t path[MAX_PATH];
    g_tmpPath = "/var/tmp";
    EXPECT_EQ(10u, GetTempPath(9, path)); // no room for the terminator
    EXPECT_EQ(9u, GetTempPath(MAX_PATH, path));
    EXPECT_STREQ(L"\\var\\tmp\\", path);
    ASSERT_TRUE(SetCurrentDirectory(L"\\tmp"));
    EXPECT_EQ(4u, GetCurrentDirectory(MAX_PATH, path));
    EXPECT_STREQ(L"\\tmp", path);
    EXPECT_EQ(5u, GetCurrentDirectory(4, path));
    EXPECT_FALSE(SetCurrentDirectory(L"\\no\\such"));
    EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, GetLastError());
}

TEST(WidePaths, TakeEitherSeparator) {
    ASSERT_TRUE(SetCurrentDirectory(L"/tmp"));
    const std::wstring name = L".\\kalto_porting_" + std::to_wstring(GetCurrentProcessId());
    ASSERT_EQ(0, _tmkdir(name.c_str()));
    EXPECT_EQ(0, _trename(name.c_str(), (name + L"_").c_str()));
    EXPECT_EQ(-1, _taccess(name.c_str(), 0));
    EXPECT_EQ(0, _tremove((name + L"_").c_str()));
    EXPECT_EQ(-1, _trmdir((name + L"_").c_str()));
    EXPECT_EQ(-1, _tunlink(nullptr));
}

TEST(Case, ConvertsTextsCountsAndSingleCharacters) {
    wchar_t text[] = L"MiXed";
    EXPECT_STREQ(L"mixed", CharLower(text));
    EXPECT_STREQ(L"MIXED", CharUpper(text));
    EXPECT_EQ(2u, CharLowerBuff(text, 2));
    EXPECT_STREQ(L"miXED", text);
    EXPECT_EQ(reinterpret_cast<LPWSTR>(uintptr_t{'A'}), CharUpper(reinterpret_cast<LPWSTR>(uintptr_t{'a'})));
    EXPECT_EQ(nullptr, CharUpper(nullptr));
    EXPECT_EQ(text + 5, CharNext(text + 5));
    EXPECT_EQ(text, CharPrev(text, text));
}

TEST(Strings, BearWithNull) {
    wchar_t text[8] = L"ab";
    EXPECT_EQ(0, lstrlen(nullptr));
    EXPECT_GT(0, lstrcmp(nullptr, L""));
    EXPECT_LT(0, lstrcmpi(L"", nullptr));
    EXPECT_EQ(nullptr, lstrcpy(text, nullptr));
    EXPECT_EQ(nullptr, lstrcat(nullptr, text));
    EXPECT_STREQ(L"abc", lstrcat(text, L"c"));
    EXPECT_STREQ(L"xy", lstrcpyn(text, L"xyz", 3));
}

TEST(Numbers, HaveASignInRadixTenAlone) {
    char narrow[66];
    wchar_t wide[66];
    EXPECT_STREQ("-2147483648", _itoa(INT_MIN, narrow, 10));
    EXPECT_STREQ("ffffffff", _itoa(-1, narrow, 16));
    EXPECT_STREQ("-9223372036854775808", _i64toa(LLONG_MIN, narrow, 10));
    EXPECT_STREQ(L"0", _itow(0, wide, 2));
    EXPECT_STREQ(L"4294967295", _ultow(0xFFFFFFFFu, wide, 10));
    EXPECT_STREQ(L"", _ltow(5, wide, 1));
}

TEST(SizedPrint, FillsTheBufferAndSaysWhatWasCut) {
    const struct {
        const char* text;
        int result;
        const char* bytes; // all eight
    } cases[] = {
        {"abc", 3, "abc\0####"}, {"abcd", 4, "abcd####"}, {"abcde", -1, "abcd####"}, {"", 0, "\0#######"}};
    for (const auto& c : cases) {
        char narrow[] = "########";
        EXPECT_EQ(c.result, _snprintf(narrow, 4, "%s", c.text));
        EXPECT_EQ(0, memcmp(narrow, c.bytes, 8)) << c.text;
        wchar_t wide[] = L"########";
        EXPECT_EQ(c.result, _snwprintf(wide, 4, L"%S", c.text));
        EXPECT_TRUE(std::equal(wide, wide + 8, c.bytes)) << c.text;
    }
    const std::wstring text(100000, L'x');
    std::wstring out(100001, L'#');
    EXPECT_EQ(100000, _snwprintf(&out[0], 100001, L"%s", text.c_str()));
}

TEST(StreamText, SharesAStreamWithNarrowCallsInTheLocalesEncoding) {
    ASSERT_NE(nullptr, setlocale(LC_ALL, "C.UTF-8"));
    FILE* stream = tmpfile();
    ASSERT_NE(nullptr, stream);
    EXPECT_EQ(4, _ftprintf(stream, _T("%s=%d"), _T("\u00E4"), 10));
    EXPECT_LT(0, fprintf(stream, "!\n"));
    EXPECT_EQ(0, _fputts(_T("\u20AC\nlast"), stream));
    EXPECT_EQ(EOF, _fputts(L"\xD800", stream));
    rewind(stream);
    wchar_t line[6];
    for (const wchar_t* wanted : {L"\u00E4=10!", L"\n", L"\u20AC\n", L"last"})
        EXPECT_STREQ(wanted, _fgetts(line, 6, stream));
    EXPECT_EQ(nullptr, _fgetts(line, 6, stream));
    fclose(stream);
}

TEST(Scan, StoresWideTextForS) {
    wchar_t word[8] = L"", set[8] = L"", one[2] = L"";
    char narrow[8] = "";
    int number = 0;
    EXPECT_EQ(5, _stscanf(L"word ]x] c nar 77", L"%7s %[]x] %c %S %d", word, set, one, narrow, &number));
    EXPECT_STREQ(L"word", word);
    EXPECT_STREQ(L"]x]", set);
    EXPECT_EQ(L'c', one[0]);
    EXPECT_STREQ("nar", narrow);
    EXPECT_EQ(77, number);
    EXPECT_EQ(1, _stscanf(L"100% 5", L"100%% %*[0-4]%hs", narrow) + 1);
}

TEST(SurrogatePairs, NameTheFileOfTheirOneCharacter) {
    ASSERT_NE(nullptr, setlocale(LC_ALL, "C.UTF-8"));
    const std::wstring directory = L"/tmp/kalto_porting_";
    const std::wstring pair = directory + wchar_t{0xD83D} + wchar_t{0xDE00};
    const std::wstring one = directory + wchar_t{0x1F600};
    HANDLE file =
        CreateFile(pair.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr); // by the host
    ASSERT_NE(INVALID_HANDLE_VALUE, file);
    CloseHandle(file);
    EXPECT_NE(INVALID_FILE_ATTRIBUTES, GetFileAttributes(one.c_str()));
    EXPECT_NE(INVALID_FILE_ATTRIBUTES, GetFileAttributes(pair.c_str())); // by the library
    EXPECT_TRUE(DeleteFile(one.c_str()));
    for (const wchar_t alone : {wchar_t{0xD83D}, wchar_t{0xDE00}}) {
        const std::wstring name = directory + alone + L"x";
        EXPECT_EQ(INVALID_HANDLE_VALUE,
                  CreateFile(name.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
        EXPECT_EQ(DWORD{ERROR_INVALID_NAME}, GetLastError());
        EXPECT_TRUE(SetEnvironmentVariable(L"KALTO_PORTING_PAIR", pair.c_str()));
        EXPECT_FALSE(SetEnvironmentVariable(L"KALTO_PORTING_PAIR", name.c_str()));
    }
}

} // namespace
