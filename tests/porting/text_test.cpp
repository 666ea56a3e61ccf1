#include <clocale>
#include <gtest/gtest.h>
#include <string>
#include <tchar.h>
#include <windows.h>

namespace {

TEST(FormatMessage, GivesTheSystemsTextOrSaysWhyNot) {
    constexpr DWORD kSystem = FORMAT_MESSAGE_FROM_SYSTEM, kLine = kSystem | FORMAT_MESSAGE_MAX_WIDTH_MASK;
    const struct {
        DWORD flags, number, room;
        const wchar_t* text;
        DWORD error;
    } cases[] = {
        {kSystem, 0, 64, L"Success\r\n", 0},
        {kSystem, static_cast<DWORD>(HRESULT_FROM_WIN32(2)), 64, L"No such file or directory\r\n", 0},
        {kSystem, ERROR_KEY_DELETED, 64, L"The registry key was deleted\r\n", 0},
        {kSystem, 41, 64, L"", ERROR_MR_MID_NOT_FOUND},
        {kSystem, 0x80004005u, 64, L"", ERROR_MR_MID_NOT_FOUND},
        {kLine, 2, 26, L"No such file or directory", 0},
        {kLine, 2, 25, L"", ERROR_INSUFFICIENT_BUFFER},
        {FORMAT_MESSAGE_FROM_STRING, 2, 64, L"", ERROR_INVALID_PARAMETER},
        {FORMAT_MESSAGE_FROM_HMODULE, 2, 64, L"", ERROR_NOT_SUPPORTED},
    };
    for (const auto& c : cases) {
        wchar_t buffer[64];
        SetLastError(0);
        const DWORD length = FormatMessage(c.flags, nullptr, c.number, 0, buffer, c.room, nullptr);
        EXPECT_EQ(c.text, std::wstring(buffer, length)) << c.number;
        EXPECT_EQ(c.error, GetLastError());
    }
    LPWSTR text = nullptr;
    EXPECT_EQ(9u, FormatMessage(kSystem | FORMAT_MESSAGE_ALLOCATE_BUFFER, nullptr, 0, 0,
                                reinterpret_cast<LPWSTR>(&text), 100, nullptr));
    EXPECT_STREQ(L"Success\r\n", text);
    EXPECT_LE(100 * sizeof(WCHAR), LocalSize(text));
    LocalFree(text);
}

DWORD format(DWORD flags, const wchar_t* message, wchar_t* buffer, DWORD room, ...) {
    va_list list;
    va_start(list, room);
    const DWORD length =
        FormatMessage(FORMAT_MESSAGE_FROM_STRING | flags, message, 0, 0, buffer, room, &list);
    va_end(list);
    return length;
}

TEST(FormatMessage, FillsInsertsIntoTheCallersText) {
    const struct {
        const wchar_t *message, *text; // null: refused
    } cases[] = {
        {L"%2!d! %1 %5!c!|%%|%n|%t%r%.% %!%q|100%", L"-2 one x|%|\r\n|\t\r. !q|100%"},
        {L"%3!hs! %3!S! %1!ls! %4!5lu!|%4!-5X!|%4!05x!", L"three three one    11|B    |0000b"},
        {L"%6!*d!|%6!*.*s!|%1!.2s!|%10", L"       2|      wo|on|(null)"}, // a star takes an insert
        {L"line\nnext\r\nlast%0never", L"line\r\nnext\r\nlast"},
        {L"%1!d", L"one!d"},
        {L"%1!dd!", nullptr},
        {L"%1!!", nullptr},
    };
    const wchar_t *const one = L"one", *const word = L"word";
    const auto text_of = [](const void* text) { return reinterpret_cast<DWORD_PTR>(text); };
    DWORD_PTR array[10] = {text_of(one), static_cast<DWORD_PTR>(-2), text_of("three"), 11, L'x', 8, 2,
                           text_of(word)};
    for (const auto& c : cases) {
        wchar_t from_list[64] = L"kept", from_array[64] = L"kept", as_is[64];
        const size_t length = c.text != nullptr ? wcslen(c.text) : 0;
        SetLastError(0);
        EXPECT_EQ(length,
                  format(0, c.message, from_list, 64, one, -2, "three", 11, L'x', 8, 2, word, 0, nullptr));
        EXPECT_STREQ(c.text != nullptr ? c.text : L"kept", from_list);
        EXPECT_EQ(c.text != nullptr ? 0 : DWORD{ERROR_INVALID_PARAMETER}, GetLastError());
        EXPECT_EQ(length, FormatMessage(FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_ARGUMENT_ARRAY, c.message,
                                        0, 0, from_array, 64, reinterpret_cast<va_list*>(array)));
        EXPECT_STREQ(from_list, from_array);
        EXPECT_EQ(wcslen(c.message), format(FORMAT_MESSAGE_IGNORE_INSERTS, c.message, as_is, 64));
        EXPECT_STREQ(c.message, as_is);
    }
    EXPECT_EQ(0u, FormatMessage(FORMAT_MESSAGE_FROM_STRING, L"%1", 0, 0, nullptr, 64, nullptr));
}

TEST(Environment, FollowsTheBufferProtocol) {
    wchar_t buffer[64] = L"kept";
    const struct {
        const wchar_t *set, *text, *result; // a null result: the value as it is
        DWORD room, length, error;
    } cases[] = {
        {nullptr, nullptr, L"kept", 8, 0, ERROR_ENVVAR_NOT_FOUND},
        {L"value", nullptr, L"kept", 5, 6, 7},
        {L"value", nullptr, L"value", 6, 5, 7},
        {L"", nullptr, L"", 8, 0, 0},
        {L"value", L"a %KALTO_PORTING% b", L"a value b", 64, 10, 7},
        {L"value", L"%no such%KALTO_PORTING%", L"%no suchvalue", 64, 14, 7},
        {L"value", L"100%", L"100%", 64, 5, 7},
    };
    for (const auto& c : cases) {
        EXPECT_TRUE(SetEnvironmentVariable(L"KALTO_PORTING", c.set));
        SetLastError(7);
        EXPECT_EQ(c.length, c.text == nullptr ? GetEnvironmentVariable(L"KALTO_PORTING", buffer, c.room)
                                              : ExpandEnvironmentStrings(c.text, buffer, c.room));
        EXPECT_STREQ(c.result, buffer);
        EXPECT_EQ(c.error, GetLastError());
    }
    EXPECT_EQ(6u, GetEnvironmentVariable(L"KALTO_PORTING", nullptr, 0));
    EXPECT_TRUE(SetEnvironmentVariable(L"KALTO_PORTING", nullptr));
    EXPECT_EQ(nullptr, getenv("KALTO_PORTING"));
}

TEST(GetTempPath, FollowsTheApplicationsChoice) {
    wchar_t path[MAX_PATH];
    g_tmpPath = "/var/tmp";
    EXPECT_EQ(9u, GetTempPath(MAX_PATH, path));
    EXPECT_STREQ(L"\\var\\tmp\\", path);
}

TEST(StreamText, SharesAStreamWithNarrowCallsInTheLocalesEncoding) {
    ASSERT_NE(nullptr, setlocale(LC_ALL, "C.UTF-8"));
    EXPECT_EQ(UINT{CP_UTF8}, GetACP());
    FILE* stream = tmpfile();
    ASSERT_NE(nullptr, stream);
    EXPECT_EQ(4, _ftprintf(stream, _T("%s=%d"), _T("\u00E4"), 10));
    EXPECT_LT(0, fprintf(stream, "!\n"));
    EXPECT_EQ(L'\u20AC', static_cast<wchar_t>(_fputtc(L'\u20AC', stream)));
    EXPECT_EQ(0, _fputts(_T("\nlast"), stream));
    EXPECT_EQ(EOF, _fputts(L"\xD800", stream));
    EXPECT_EQ(WEOF, _fputtc(0xD800, stream));
    EXPECT_EQ(0u, _fputtc(0, stream));
    EXPECT_EQ(16, ftell(stream));
    rewind(stream);
    EXPECT_EQ(L'\u00E4', static_cast<wchar_t>(_fgettc(stream)));
    wchar_t line[6];
    for (const wchar_t* wanted : {L"=10!\n", L"\u20AC\n", L"last"})
        EXPECT_STREQ(wanted, _fgetts(line, 6, stream));
    EXPECT_EQ(nullptr, _fgetts(line, 6, stream));
    fclose(stream);
}

} // namespace
