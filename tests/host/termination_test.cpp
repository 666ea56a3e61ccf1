// A thread may be terminated while it waits in a file call: what the call held is given back, and the file
// stays usable.
#include "tests/scratch.h"

#include <functional>
#include <kalto/kernel.h>
#include <pthread.h>

// Terminates a thread that runs the call, once it has begun to wait in it.
static void terminate_in(std::function<void()> call) {
    auto run = [](void* function) -> void* {
        (*static_cast<std::function<void()>*>(function))();
        return nullptr;
    };
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, nullptr, run, &call), 0);
    usleep(20000); // whether it waits already or is about to, it is terminated in the call
    pthread_cancel(thread);
    void* result = nullptr;
    pthread_join(thread, &result);
    EXPECT_EQ(result, PTHREAD_CANCELED);
}

TEST(HostTermination, LeavesReadingWritingAndCopying) {
    const Scratch scratch;
    ASSERT_EQ(mkfifo(scratch.path("fifo").c_str(), 0600), 0);
    HANDLE pipe = scratch.open("fifo", GENERIC_READ | GENERIC_WRITE);
    char data[4096] = {};
    DWORD done = 0;
    terminate_in([&] { ReadFile(pipe, data, sizeof data, &done, nullptr); });
    terminate_in([&] { CopyFile(scratch.wide("fifo").c_str(), scratch.wide("copy").c_str(), FALSE); });
    EXPECT_EQ(scratch.names(), Names{"fifo"}) << "no half-made copy";
    terminate_in([&] {
        while (WriteFile(pipe, data, sizeof data, &done, nullptr)) {
        }
    });
    EXPECT_TRUE(ReadFile(pipe, data, sizeof data, &done, nullptr));
    CloseHandle(pipe);
}
