#include <clocale>
#include <cstdlib>
#include <gtest/gtest.h>
#include <kalto/text.h>
#include <string>

namespace {

std::string debug_output(const std::wstring& text) {
    testing::internal::CaptureStderr();
    const int result = OutputDebugString(text.c_str());
    const std::string shown = testing::internal::GetCapturedStderr();
    EXPECT_EQ(static_cast<size_t>(result), shown.size());
    return shown;
}

TEST(DebugOutput, GoesToStandardErrorUnadornedAndUncut) {
    EXPECT_EQ(debug_output(L"100%% plain text\n"), "100% plain text\n"); // the text is a format
    EXPECT_EQ(debug_output(L"a\u20acb"), "a?b");
    EXPECT_EQ(OutputDebugString(nullptr), 0);
    ASSERT_NE(setlocale(LC_ALL, "C.UTF-8"), nullptr);
    EXPECT_EQ(debug_output(L"\u00fc\u20ac"), "\xc3\xbc\xe2\x82\xac");
    for (size_t length : {4095u, 4096u, 20000u})
        EXPECT_EQ(debug_output(std::wstring(length, L'x')), std::string(length, 'x'));
    EXPECT_EQ(debug_output(std::wstring(3000, L'\u00fc')).size(), 6000u);
}

TEST(DebugOutput, PrintFormatsByTheWideRulesAndCutsAtItsLimit) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(DebugPrint(L"%s %S %d %%%%\n", L"a", "b", 7), 9);
    EXPECT_EQ(DebugPrint(L"%s", std::wstring(1023, L'x').c_str()), 1023);
    EXPECT_EQ(DebugPrint(L"%s", std::wstring(1024, L'x').c_str()), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "a b 7 %\n" + std::string(2 * 1023, 'x'));
}

} // namespace

// The sanitizers bring allocators of their own.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
namespace {
int g_allocations_until_failure = -1; // negative: none fails
}

extern "C" void* __libc_malloc(size_t size);

extern "C" void* malloc(size_t size) {
    if (g_allocations_until_failure == 0)
        return nullptr;
    g_allocations_until_failure -= g_allocations_until_failure > 0 ? 1 : 0;
    return __libc_malloc(size);
}

TEST(OutOfMemory, FormattingWritesNothingAndDebugOutputShowsWhatFitsTheStack) {
    WCHAR wide[8] = L"before";
    const std::wstring text(6000, L'x');
    testing::internal::CaptureStderr();
    g_allocations_until_failure = 0;
    const int results = wsprintf(wide, L"%d", 5) | DebugPrint(L"text"),
              shown = OutputDebugString(text.c_str());
    g_allocations_until_failure = 1; // the buffer, but not the rewritten format
    const int late_result = DebugPrint(L"text");
    g_allocations_until_failure = -1;
    EXPECT_EQ(results | late_result, 0);
    EXPECT_STREQ(wide, L"before");
    EXPECT_EQ(shown, 4095);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), std::string(4095, 'x'));
}
#endif
