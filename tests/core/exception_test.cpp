#include <gtest/gtest.h>
#include <kalto/core.h>
#include <numeric>
#include <vector>

static unsigned long raise(DWORD code, DWORD flags, DWORD count, const ULONG_PTR* parameters) {
    try {
        RaiseException(code, flags, count, parameters);
    } catch (unsigned long payload) {
        return payload;
    }
    return 0xBADu;
}

TEST(Exception, IsThrownAsItsFirstParameterAndRecorded) {
    const ULONG_PTR parameters[] = {7, 8};
    EXPECT_EQ(raise(0xF0000005u, 1, 2, parameters), 7u);
    const EXCEPTION_POINTERS* pointers = GetExceptionInformation();
    EXPECT_EQ(pointers->ContextRecord, nullptr);
    const EXCEPTION_RECORD* record = pointers->ExceptionRecord;
    EXPECT_EQ(record->ExceptionCode, 0xE0000005u);
    EXPECT_EQ(record->ExceptionFlags, 1u);
    EXPECT_EQ(record->ExceptionAddress, nullptr);
    ASSERT_EQ(record->NumberParameters, 2u);
    EXPECT_EQ(record->ExceptionInformation[1], 8u);
}

TEST(Exception, WithoutParametersThrowsZero) {
    const ULONG_PTR parameters[] = {7};
    EXPECT_EQ(raise(0x10000005u, 0, 3, nullptr), 0u);
    EXPECT_EQ(GetExceptionInformation()->ExceptionRecord->ExceptionCode, 5u);
    EXPECT_EQ(GetExceptionInformation()->ExceptionRecord->NumberParameters, 0u);
    EXPECT_EQ(raise(1, 0, 0, parameters), 0u);
}

TEST(Exception, KeepsAnyNumberOfParameters) {
    std::vector<ULONG_PTR> parameters(100);
    std::iota(parameters.begin(), parameters.end(), 1);
    EXPECT_EQ(raise(1, 0, 100, parameters.data()), 1u);
    const ULONG_PTR* kept = GetExceptionInformation()->ExceptionRecord->ExceptionInformation;
    EXPECT_EQ(std::vector<ULONG_PTR>(kept, kept + 100), parameters);
}

TEST(Exception, EndsTheProcessWhenTheParametersDoNotFitMemory) {
    const ULONG_PTR parameters[] = {7};
    if (sizeof(void*) == 4) {
        EXPECT_EXIT(RaiseException(1, 0, 0xFFFFFFFFu, parameters), testing::ExitedWithCode(1), "");
    }
}
