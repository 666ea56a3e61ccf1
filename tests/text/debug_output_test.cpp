#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <gtest/gtest.h>
#include <kalto/text.h>
#include <string>

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define CAN_FAIL_ALLOCATIONS
#endif

namespace {

std::string debug_output(const std::wstring& text, int expected_result) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(OutputDebugString(text.c_str()), expected_result);
    return testing::internal::GetCapturedStderr();
}

} // namespace

#ifdef CAN_FAIL_ALLOCATIONS
namespace {
int g_allocations_until_failure = -1; // negative: none fails
}

extern "C" void* __libc_malloc(size_t size);

extern "C" void* malloc(size_t size) {
    if (g_allocations_until_failure == 0) {
        errno = ENOMEM;
        return nullptr;
    }
    if (g_allocations_until_failure > 0)
        --g_allocations_until_failure;
    return __libc_malloc(size);
}
#endif

namespace {

TEST(DebugOutput, GoesToStandardErrorUnadorned) {
    EXPECT_EQ(debug_output(L"plain text", 10), "plain text");
    EXPECT_EQ(debug_output(L"100%%\n", 5), "100%\n"); // the text is a format
    EXPECT_EQ(debug_output(L"", 0), "");
    EXPECT_EQ(OutputDebugString(nullptr), 0);
    EXPECT_EQ(debug_output(L"a\u20acb", 3), "a?b");
}

TEST(DebugOutput, IsNeverCut) {
    ASSERT_NE(setlocale(LC_ALL, "C.UTF-8"), nullptr);
    EXPECT_EQ(debug_output(L"\u00fc\u20ac", 5), "\xc3\xbc\xe2\x82\xac");
    for (int length : {4094, 4095, 4096, 20000}) {
        const auto size = static_cast<size_t>(length);
        EXPECT_EQ(debug_output(std::wstring(size, L'x'), length), std::string(size, 'x'));
    }
    EXPECT_EQ(debug_output(std::wstring(3000, L'\u00fc'), 6000).size(), 6000u);
}

TEST(DebugOutput, PrintFormatsByTheWideRules) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(DebugPrint(L"%s %S %d %%%%\n", L"a", "b", 7), 9);
    EXPECT_EQ(DebugPrint(L"%s", std::wstring(1023, L'x').c_str()), 1023);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "a b 7 %\n" + std::string(1023, 'x'));
    // Beyond 1023 characters it is cut, and says so.
    testing::internal::CaptureStderr();
    EXPECT_EQ(DebugPrint(L"%s", std::wstring(1024, L'x').c_str()), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), std::string(1023, 'x'));
}

#ifdef CAN_FAIL_ALLOCATIONS
TEST(OutOfMemory, TheFormattedFamiliesReturnZeroAndWriteNothing) {
    char narrow[8] = "before";
    WCHAR wide[8] = L"before";
    g_allocations_until_failure = 0;
    const int narrow_result = _sprintf(narrow, "%d", 5);
    const int wide_result = wsprintf(wide, L"%d", 5);
    const int bounded_result = wsnprintf(wide, 8, L"");
    const int print_result = DebugPrint(L"text");
    g_allocations_until_failure = 1; // the buffer, but not the rewritten format
    const int late_print_result = DebugPrint(L"text");
    g_allocations_until_failure = -1;
    EXPECT_EQ(narrow_result, 0);
    EXPECT_EQ(wide_result, 0);
    EXPECT_EQ(bounded_result, 0);
    EXPECT_EQ(print_result, 0);
    EXPECT_EQ(late_print_result, 0);
    EXPECT_STREQ(narrow, "before");
    EXPECT_STREQ(wide, L"before");
}

TEST(OutOfMemory, DebugOutputStillShowsWhatFitsTheStack) {
    const std::wstring text(6000, L'x');
    testing::internal::CaptureStderr();
    g_allocations_until_failure = 0;
    const int result = OutputDebugString(text.c_str());
    g_allocations_until_failure = -1;
    EXPECT_EQ(result, 4095);
    EXPECT_EQ(testing::internal::GetCapturedStderr().size(), 4095u);
}
#endif

} // namespace
