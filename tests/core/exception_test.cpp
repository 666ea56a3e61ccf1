#include <gtest/gtest.h>
#include <kalto/core.h>
#include <numeric>
#include <vector>

TEST(Exception, IsThrownAsItsFirstParameterAndRecorded) {
    std::vector<ULONG_PTR> many(100); // more than Windows takes
    std::iota(many.begin(), many.end(), 7);
    const struct {
        DWORD code, count;
        const ULONG_PTR* parameters;
        DWORD kept_code, kept_count;
        unsigned long payload;
    } cases[] = {
        {0xF0000005u, 100, many.data(), 0xE0000005u, 100, 7},
        {0x10000005u, 3, nullptr, 5, 0, 0},
        {1, 0, many.data(), 1, 0, 0},
    };
    for (const auto& c : cases) {
        try {
            RaiseException(c.code, 1, c.count, c.parameters);
            ADD_FAILURE() << "nothing was thrown";
        } catch (unsigned long thrown) {
            EXPECT_EQ(thrown, c.payload);
        }
        EXPECT_EQ(GetExceptionInformation()->ContextRecord, nullptr);
        const EXCEPTION_RECORD& record = *GetExceptionInformation()->ExceptionRecord;
        EXPECT_EQ(record.ExceptionCode, c.kept_code);
        EXPECT_EQ(record.ExceptionFlags, 1u);
        EXPECT_EQ(record.ExceptionAddress, nullptr);
        ASSERT_EQ(record.NumberParameters, c.kept_count);
        EXPECT_TRUE(std::equal(record.ExceptionInformation, record.ExceptionInformation + c.kept_count,
                               many.begin()));
    }
}
