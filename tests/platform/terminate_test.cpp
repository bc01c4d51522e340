// Threads ended by force where they hang.
#include <atomic>

#include <gtest/gtest.h>

#include "platform/guard.h"
#include "platform/thread.h"

namespace {

HANDLE g_never = nullptr;
std::atomic<unsigned> g_rounds{0};

void sleep_long() {
    ++g_rounds;
    Sleep(600000);
}
void wait_event() {
    ++g_rounds;
    WaitForSingleObject(g_never, INFINITE);
}
void spin() {
    for (;;) {
        ++g_rounds;
    }
}
void hang_guarded() {
    DWORD code = 0;
    platform::call_guarded([](void*) { sleep_long(); }, nullptr, code);
}

}  // namespace

TEST(terminate_threads, where_they_hang) {
    g_never = CreateEventA(nullptr, FALSE, FALSE, nullptr);
    for (const auto body : {sleep_long, wait_event, spin, hang_guarded}) {
        for (DWORD pause = 1; pause < 6; ++pause) {
            g_rounds = 0;
            const auto thread = platform::start_thread(body);
            const HANDLE handle = platform::thread_handle(*thread);
            // One that has not got there may hold a lock of the system.
            while (g_rounds == 0) {
                Sleep(1);
            }
            EXPECT_EQ(WAIT_TIMEOUT, WaitForSingleObject(handle, pause));
            ASSERT_TRUE(TerminateThread(handle, ERROR_TIMEOUT)) << GetLastError();
            EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(handle, 10000));
            EXPECT_TRUE(TerminateThread(handle, ERROR_TIMEOUT));
            thread->detach();
        }
    }
    // None of the ended takes what others wait for.
    EXPECT_TRUE(SetEvent(g_never));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(g_never, 0));
    CloseHandle(g_never);
}
