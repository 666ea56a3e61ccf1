// GUIDs with clocks and random numbers that the test chooses. Each test needs a process of its own: the node
// words are made once.
#include <ctime>
#include <deque>
#include <future>
#include <gtest/gtest.h>
#include <objbase.h>
#include <set>
#include <sys/time.h>
#include <vector>

namespace {

constexpr time_t kSeconds = 1700000000;
timespec monotonic = {10, 0};
std::deque<int> numbers; // what rand gives; 1 when it is empty
int seeded = 0;

GUID made() {
    GUID guid = {};
    EXPECT_EQ(CoCreateGuid(&guid), 0);
    return guid;
}

// The bytes of the sequence and the node.
using Bytes = std::vector<BYTE>;
Bytes node() {
    const GUID guid = made();
    return {std::begin(guid.Data4), std::end(guid.Data4)};
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

extern "C" void srand(unsigned) noexcept {
    ++seeded;
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
    EXPECT_EQ(node(), (Bytes{0, 0, 0xF9, 0xFF, 0x45, 0x23, 0x21, 0x43}));
    EXPECT_EQ(node(), (Bytes{6, 0, 0xF9, 0xFF, 0x45, 0x23, 0x21, 0x43})) << "a sequence of 0 is drawn anew";
    const GUID guid = made();
    EXPECT_EQ(guid.Data4[0], 7);
    EXPECT_EQ(seeded, 3);
    const unsigned long long ticks = ((kSeconds + 11644473600ull) * 1000 + 123) * 10000;
    const auto high = static_cast<unsigned>(ticks >> 32);
    EXPECT_EQ(guid.Data1, static_cast<DWORD>(ticks));
    EXPECT_EQ(guid.Data2, high & 0xFFFF);
    EXPECT_EQ(guid.Data3, ((high >> 20) << 4 | 2) & 0xFFFF);
    EXPECT_EQ(CoCreateGuid(nullptr), -1);
}

TEST(Guid, KeepsItsNodeAlsoWhenTheFirstWordIsZero) {
    numbers = {0x0101, 9, 8, 7, 6, 5, 4};
    EXPECT_EQ(node(), (Bytes{2, 1, 0, 0, 8, 0, 7, 0})) << "the first tick count is 0";
    monotonic.tv_sec += 100;
    EXPECT_EQ(node(), (Bytes{3, 1, 0, 0, 8, 0, 7, 0}));
}

TEST(Guid, IsNeverGivenToTwoThreads) {
    const auto make_many = [] {
        std::set<Bytes> mine;
        while (mine.size() < 1000)
            mine.insert(node());
        return mine;
    };
    auto others = std::async(std::launch::async, make_many);
    std::set<Bytes> all = make_many();
    all.merge(others.get());
    EXPECT_EQ(all.size(), 2000u);
}
