// GUIDs with clocks and random numbers that the test chooses. Each test needs a process of its own: the node
// words are made once.
#include <ctime>
#include <deque>
#include <gtest/gtest.h>
#include <objbase.h>
#include <set>
#include <string>
#include <sys/time.h>
#include <thread>
#include <vector>

namespace {

constexpr time_t kSeconds = 1700000000;
timespec monotonic = {10, 0};
std::deque<int> numbers; // what rand gives; 1 when it is empty
std::vector<unsigned> seeds;

// The bytes of the sequence and the node.
std::string make() {
    GUID guid = {};
    EXPECT_EQ(CoCreateGuid(&guid), 0);
    std::string text;
    for (const BYTE byte : guid.Data4) {
        char digits[4];
        snprintf(digits, sizeof digits, "%02X ", byte);
        text += digits;
    }
    return text;
}

} // namespace

extern "C" int gettimeofday(timeval* now, void*) noexcept {
    *now = {kSeconds, 123999};
    return 0;
}

extern "C" int clock_gettime(clockid_t, timespec* now) noexcept {
    *now = monotonic;
    return 0;
}

extern "C" time_t time(time_t*) noexcept {
    return kSeconds;
}

extern "C" void srand(unsigned seed) noexcept {
    seeds.push_back(seed);
}

extern "C" int rand() noexcept {
    if (numbers.empty())
        return 1;
    const int number = numbers.front();
    numbers.pop_front();
    return number;
}

TEST(Guid, IsMadeOfTheTimeASequenceAndTheNodeInThisOrder) {
    GetTickCount();
    monotonic.tv_nsec = 7000000;
    numbers = {0x1FFFF, 0x7FFFFFFF, 0x12345, 0x54321, 5};
    // The sequence passes 16 bits and becomes 0; 0x7FFFFFFF times 7 milliseconds is ...FFF9 in 32 bits.
    EXPECT_EQ(make(), "00 00 F9 FF 45 23 21 43 ");
    EXPECT_EQ(make(), "06 00 F9 FF 45 23 21 43 ") << "a sequence of 0 is drawn anew";
    EXPECT_EQ(make(), "07 00 F9 FF 45 23 21 43 ");
    EXPECT_EQ(seeds, std::vector<unsigned>(3, kSeconds));
    GUID guid = {};
    CoCreateGuid(&guid);
    const unsigned long long ticks = ((kSeconds + 11644473600ull) * 1000 + 123) * 10000;
    const auto high = static_cast<unsigned>(ticks >> 32);
    EXPECT_EQ(guid.Data1, static_cast<DWORD>(ticks));
    EXPECT_EQ(guid.Data2, high & 0xFFFF);
    EXPECT_EQ(guid.Data3, ((high >> 20) << 4 | 2) & 0xFFFF);
    EXPECT_EQ(CoCreateGuid(nullptr), -1);
}

TEST(Guid, KeepsItsNodeAlsoWhenTheFirstWordIsZero) {
    numbers = {0x0101, 9, 8, 7, 6, 5, 4};
    EXPECT_EQ(make(), "02 01 00 00 08 00 07 00 ") << "the first tick count is 0";
    monotonic.tv_sec += 100;
    EXPECT_EQ(make(), "03 01 00 00 08 00 07 00 ");
}

TEST(Guid, IsNeverGivenToTwoThreads) {
    std::vector<std::string> made[4];
    std::vector<std::thread> threads;
    for (auto& mine : made)
        threads.emplace_back([&mine] {
            for (int i = 0; i < 500; ++i)
                mine.push_back(make());
        });
    for (auto& thread : threads)
        thread.join();
    std::set<std::string> all;
    for (const auto& mine : made)
        all.insert(mine.begin(), mine.end());
    EXPECT_EQ(all.size(), 2000u);
}
