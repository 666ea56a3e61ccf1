// A thread may be terminated while it waits in a file call: what the call held is given back, and the file
// stays usable.
#include "tests/host/sandbox.h"

#include <kalto/core.h>
#include <kalto/fs.h>
#include <kalto/host.h>
#include <kalto/kernel.h>
#include <pthread.h>
#include <thread>
#include <unistd.h>

namespace {

class HostTermination : public Sandbox {
  protected:
    // Terminates a thread that runs the call, once it has begun to wait in it.
    void terminate_in(const std::function<void()>& call) {
        auto run = [](void* function) -> void* {
            (*static_cast<const std::function<void()>*>(function))();
            return nullptr;
        };
        pthread_t thread;
        ASSERT_EQ(pthread_create(&thread, nullptr, run, const_cast<std::function<void()>*>(&call)), 0);
        usleep(20000); // whether it waits already or is about to, it is terminated in the call
        pthread_cancel(thread);
        void* result = nullptr;
        pthread_join(thread, &result);
        EXPECT_EQ(result, PTHREAD_CANCELED);
    }
};

} // namespace

TEST_F(HostTermination, LeavesReadingWritingAndCopying) {
    ASSERT_EQ(mkfifo(path("fifo").c_str(), 0600), 0);
    put("file", "text");
    HANDLE pipe =
        CreateFile(wide("fifo").c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    char data[4096] = {};
    DWORD done = 0;
    terminate_in([&] { ReadFile(pipe, data, sizeof data, &done, nullptr); });
    terminate_in([&] { CopyFile(wide("fifo").c_str(), wide("copy").c_str(), FALSE); });
    EXPECT_EQ(names(), (Names{"fifo", "file"})) << "no half-made copy";
    terminate_in([&] {
        while (WriteFile(pipe, data, sizeof data, &done, nullptr)) {
        }
    });
    EXPECT_TRUE(ReadFile(pipe, data, sizeof data, &done, nullptr));
    CloseHandle(pipe);
}
