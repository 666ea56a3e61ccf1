#include <gtest/gtest.h>
#include <kalto/core.h>
#include <numeric>
#include <vector>

static unsigned long thrown_by(DWORD code, DWORD count, const ULONG_PTR* parameters) {
    try {
        RaiseException(code, 1, count, parameters);
    } catch (unsigned long payload) {
        return payload;
    }
    return 99;
}

TEST(Exception, IsThrownAsItsFirstParameterAndRecorded) {
    std::vector<ULONG_PTR> many(100); // more than Windows takes
    std::iota(many.begin(), many.end(), 7);
    EXPECT_EQ(thrown_by(0xF0000005u, 100, many.data()), 7u);
    EXPECT_EQ(GetExceptionInformation()->ContextRecord, nullptr);
    const EXCEPTION_RECORD& record = *GetExceptionInformation()->ExceptionRecord;
    EXPECT_EQ(record.ExceptionCode, 0xE0000005u);
    EXPECT_EQ(record.ExceptionFlags, 1u);
    EXPECT_EQ(record.ExceptionAddress, nullptr);
    ASSERT_EQ(record.NumberParameters, 100u);
    EXPECT_TRUE(std::equal(many.begin(), many.end(), record.ExceptionInformation));
    EXPECT_EQ(thrown_by(5, 3, nullptr), 0u);
    EXPECT_EQ(GetExceptionInformation()->ExceptionRecord->NumberParameters, 0u);
}
