// Threads of one process share the document, the table of keys and the lock.
#include "sandbox.h"

#include <thread>

namespace {

class Threads : public Sandbox {};

TEST_F(Threads, EachFindsWhatItWroteAndTheFileHoldsItAll) {
    static constexpr DWORD kRounds = 30;
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number)
        threads.emplace_back([number] {
            const std::wstring name = L"thread" + std::to_wstring(number);
            for (DWORD round = 1; round <= kRounds; ++round) {
                HKEY key = create_key(name.c_str());
                EXPECT_EQ(get_number(key, L"n"), round == 1 ? -2 : static_cast<long long>(round) - 1);
                EXPECT_EQ(set_number(key, L"n", round), 0);
                EXPECT_EQ(RegDeleteValue(key, L"other"), round == 1 ? 2 : 0);
                EXPECT_EQ(set_string(key, L"other", name.c_str()), 0);
                EXPECT_EQ(RegCloseKey(key), 0);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(in_child([] {
                  for (const wchar_t* name : {L"thread0", L"thread1", L"thread2", L"thread3"})
                      EXPECT_EQ(number_at(name, L"n"), kRounds);
                  return 0;
              }),
              0);
    EXPECT_TRUE(g_log.empty());
}

} // namespace
