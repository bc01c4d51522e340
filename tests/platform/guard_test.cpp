#include <stdexcept>

#include <gtest/gtest.h>

#include "platform/guard.h"
#include "platform/thread.h"
#include "scratch.h"

namespace {

volatile int g_zero = 0;
int* volatile g_nowhere = nullptr;

__attribute__((noinline)) int overflow(int depth) {
    volatile char frame[512] = {static_cast<char>(depth)};
    return depth < 0 ? 0 : overflow(depth + 1) + frame[0];
}

// Whether a sanitizer has its own word on undefined arithmetic and on stacks.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool is_sanitized = true;
#else
constexpr bool is_sanitized = false;
#endif

DWORD code_of(void (*body)(void*)) {
    DWORD code = 0;
    return platform::call_guarded(body, nullptr, code) ? 0 : code;
}

__attribute__((no_sanitize("undefined", "thread"))) void divide(void*) {
    g_zero = 100 / g_zero;
}
__attribute__((no_sanitize("undefined", "thread"))) void write_nowhere(void*) {
    *g_nowhere = 1;
}
void raise(void*) {
    RaiseException(0xC06D007E, 0, 0, nullptr);
}

void every_fault() {
    EXPECT_EQ(0u, code_of([](void*) {}));
    EXPECT_EQ(EXCEPTION_ACCESS_VIOLATION, code_of(write_nowhere));
    EXPECT_EQ(EXCEPTION_INT_DIVIDE_BY_ZERO, code_of(divide));
    EXPECT_EQ(0xC06D007Eu, code_of(raise));
    // Wine ends the process at an overflow.
    if (!is_sanitized && !is_wine()) {
        EXPECT_EQ(EXCEPTION_STACK_OVERFLOW, code_of([](void*) { g_zero = overflow(1) * 0; }));
    }
    EXPECT_EQ(EXCEPTION_ACCESS_VIOLATION, code_of([](void*) {
                  EXPECT_EQ(0xC06D007Eu, code_of(raise));
                  write_nowhere(nullptr);
              }));
    EXPECT_THROW(code_of([](void*) { throw std::runtime_error("through"); }), std::runtime_error);
}

}  // namespace

TEST(guard_threads, every_fault_many_times) {
    every_fault();
    const auto many = [] {
        for (int i = 0; i < 50; ++i) {
            every_fault();
        }
    };
    const auto first = platform::start_thread(many), second = platform::start_thread(many);
    first->join();
    second->join();
}
