#include "watchdog.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>

namespace {

using std::chrono::steady_clock;

// Less than the time after which ctest ends a test itself, and five times what one without the
// label "long" takes: the machine may have more to do.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr long usual_limit = 300;
#else
constexpr long usual_limit = 100;
#endif

// When the test that runs began; 0 between tests.
std::atomic<steady_clock::rep> g_begun{0};

class listener_t : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo&) override {
        g_begun = steady_clock::now().time_since_epoch().count();
    }
    void OnTestEnd(const testing::TestInfo&) override { g_begun = 0; }
};

[[noreturn]] void watch(steady_clock::duration limit) {
    for (;;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        const steady_clock::rep begun = g_begun;
        if (begun != 0 &&
            steady_clock::now().time_since_epoch() - steady_clock::duration(begun) > limit) {
            print_stacks();
            end_hung_process();
        }
    }
}

}  // namespace

void watch_tests() {
    const char* const text = std::getenv("ORALIB_TEST_LIMIT");
    const std::chrono::seconds limit(text ? std::atol(text) : usual_limit);
    testing::UnitTest::GetInstance()->listeners().Append(new listener_t);
    // Outlives main, and may: it touches nothing that is destroyed.
    std::thread(watch, limit).detach();
}
