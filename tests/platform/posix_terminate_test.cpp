// Threads ended by force anywhere, as only this layer dares.
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <mutex>

#include <gtest/gtest.h>
#include <boost/make_shared.hpp>

#include "platform/guard.h"
#include "platform/posix/faults.h"
#include "platform/thread.h"

namespace {

// What the hanging threads use stays when they are gone.
std::mutex g_taken;
std::atomic<unsigned> g_rounds{0};

void poll_long() {
    poll(nullptr, 0, 600000);
}
void wait_mutex() {
    const std::lock_guard<std::mutex> lock(g_taken);
}
void allocate() {
    for (;;) {
        boost::make_shared<std::string>(100 + g_rounds++ % 5000, 'x');
    }
}
void use_handles() {
    for (;;) {
        const HANDLE event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
        SetEvent(event);
        CloseHandle(event);
    }
}
void hang_guarded() {
    DWORD code = 0;
    platform::call_guarded([](void*) { Sleep(600000); }, nullptr, code);
}

void end(boost::thread& thread) {
    const HANDLE handle = platform::thread_handle(thread);
    ASSERT_TRUE(TerminateThread(handle, ERROR_TIMEOUT)) << GetLastError();
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(handle, 0));
    EXPECT_TRUE(TerminateThread(handle, ERROR_TIMEOUT));
    thread.detach();
}

void end_many(void (*body)(), int count) {
    struct sigaction before, after;
    sigaction(SIGRTMAX - 2, nullptr, &before);
    for (int i = 0; i < count; ++i) {
        const auto thread = platform::start_thread(body);
        usleep(i % 4 * 300);
        end(*thread);
    }
    sigaction(SIGRTMAX - 2, nullptr, &after);
    EXPECT_EQ(before.sa_handler, after.sa_handler);
}

}  // namespace

TEST(terminate_threads, wherever_they_hang) {
    const std::lock_guard<std::mutex> lock(g_taken);
    const auto open_before = platform::faults::open_handles();
    for (const auto body : {poll_long, wait_mutex, hang_guarded}) {
        end_many(body, 40);
    }
    EXPECT_EQ(open_before, platform::faults::open_handles());
}

TEST(terminate_threads, in_the_middle_of_memory_and_handles) {
    end_many(allocate, 100);
    end_many(use_handles, 100);
    // Neither the allocator nor the table of handles is left locked.
    const HANDLE event = CreateEventA(nullptr, TRUE, TRUE, nullptr);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(event, 0));
    CloseHandle(event);
    delete[] new char[1000];
}

TEST(terminate_threads, one_that_blocks_signals_is_given_up) {
    const HANDLE leave = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    std::atomic<bool> blocked{false};
    const auto thread = platform::start_thread([&] {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, nullptr);
        blocked = true;
        WaitForSingleObject(leave, INFINITE);
        sigemptyset(&all);
        pthread_sigmask(SIG_SETMASK, &all, nullptr);
    });
    while (!blocked) {
        Sleep(1);
    }
    EXPECT_FALSE(TerminateThread(platform::thread_handle(*thread), 0));
    EXPECT_EQ(ERROR_TIMEOUT, GetLastError());
    // It comes back and goes on, and no signal is left that would end it or the process.
    SetEvent(leave);
    thread->join();
    CloseHandle(leave);
}

sig_atomic_t volatile g_seen = 0;

// A fault outside of a guard is the host's, while a guard stands and after a guarded thread's end.
TEST(terminate_threads, faults_of_the_host_stay_its_own) {
    struct sigaction of_host = {}, now;
    of_host.sa_handler = [](int) { g_seen = g_seen + 1; };
    sigaction(SIGSEGV, &of_host, nullptr);
    const auto thread = platform::start_thread(hang_guarded);
    do {
        Sleep(1);
        sigaction(SIGSEGV, nullptr, &now);
    } while (now.sa_handler == of_host.sa_handler);
    raise(SIGSEGV);
    EXPECT_EQ(1, g_seen);
    end(*thread);
    sigaction(SIGSEGV, nullptr, &now);
    EXPECT_EQ(of_host.sa_handler, now.sa_handler);
    raise(SIGSEGV);
    EXPECT_EQ(2, g_seen);
}
