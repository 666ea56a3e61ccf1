#include <gtest/gtest.h>
#include <kalto/core.h>
#include <numeric>
#include <vector>

// Raises, and returns the record; the payload must be what is thrown.
static const EXCEPTION_RECORD* raise(DWORD code, DWORD count, const ULONG_PTR* parameters,
                                     unsigned long payload) {
    try {
        RaiseException(code, 1, count, parameters);
        ADD_FAILURE() << "nothing was thrown";
    } catch (unsigned long thrown) {
        EXPECT_EQ(thrown, payload);
    }
    EXPECT_EQ(GetExceptionInformation()->ContextRecord, nullptr);
    return GetExceptionInformation()->ExceptionRecord;
}

TEST(Exception, IsThrownAsItsFirstParameterAndRecorded) {
    std::vector<ULONG_PTR> parameters(100); // more than Windows takes
    std::iota(parameters.begin(), parameters.end(), 7);
    const EXCEPTION_RECORD* record = raise(0xF0000005u, 100, parameters.data(), 7);
    EXPECT_EQ(record->ExceptionCode, 0xE0000005u);
    EXPECT_EQ(record->ExceptionFlags, 1u);
    EXPECT_EQ(record->ExceptionAddress, nullptr);
    ASSERT_EQ(record->NumberParameters, 100u);
    const ULONG_PTR* kept = record->ExceptionInformation;
    EXPECT_EQ(std::vector<ULONG_PTR>(kept, kept + 100), parameters);
    EXPECT_EQ(raise(1, 3, nullptr, 0)->NumberParameters, 0u);
    EXPECT_EQ(raise(1, 0, parameters.data(), 0)->NumberParameters, 0u);
}

TEST(Exception, EndsTheProcessWhenTheParametersDoNotFitMemory) {
    const ULONG_PTR parameters[] = {7};
    if (sizeof(void*) == 4) {
        EXPECT_EXIT(RaiseException(1, 0, 0xFFFFFFFFu, parameters), testing::ExitedWithCode(1), "");
    }
}
