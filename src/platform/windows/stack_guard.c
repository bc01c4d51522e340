/* What the compiler calls where a stack or a buffer was written beyond its end. The compiler's own
 * library for it asks a crypto provider at each load. */
#include <windows.h>

void* __stack_chk_guard;

__attribute__((constructor, no_stack_protector)) static void make_guard(void) {
    LARGE_INTEGER count;
    FILETIME now;
    QueryPerformanceCounter(&count);
    GetSystemTimeAsFileTime(&now);
    ULONG_PTR value = (ULONG_PTR)&count ^ (ULONG_PTR)count.QuadPart << 20 ^ now.dwLowDateTime ^
                      (ULONG_PTR)GetCurrentThreadId() << 40;
    __stack_chk_guard = (void*)(value * 0x9E3779B97F4A7C15u & ~(ULONG_PTR)0xFF);
}

__attribute__((noreturn)) static void fail_fast(unsigned code) {
    __asm__ volatile("int $0x29" : : "c"(code));
    __builtin_unreachable();
}

__attribute__((noreturn)) void __stack_chk_fail(void) {
    fail_fast(2); /* FAST_FAIL_STACK_COOKIE_CHECK_FAILURE */
}

__attribute__((noreturn)) void __chk_fail(void) {
    fail_fast(7); /* FAST_FAIL_FATAL_APP_EXIT */
}
