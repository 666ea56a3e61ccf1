#include <gtest/gtest.h>
#include <kalto/core.h>

// One counter for all modules: a module that is not the first or the last gets the counter as its answer.
TEST(DllHooks, CountModulesForTheWholeProcess) {
    int a = 0;
    int b = 0;
    EXPECT_EQ(KaltoDllInit(nullptr), 0u); // the first, and without a DllMain
    EXPECT_EQ(KaltoDllInit(&a), 2u);
    EXPECT_EQ(KaltoDllInit(&b), 3u);
    EXPECT_EQ(KaltoDllFini(&a), 2u);
    EXPECT_EQ(KaltoDllFini(&a), 1u);
    EXPECT_EQ(KaltoDllFini(nullptr), 0u);
}
