// Ends a test that hangs, having said where each of its threads is.
#pragma once

constexpr int hung_exit_code = 42;

/// From now on a test may take as many seconds as the variable ORALIB_TEST_LIMIT says; behind that
/// the process ends with hung_exit_code. Between InitGoogleTest and RUN_ALL_TESTS.
void watch_tests();

/// For the system's part: the stacks of all threads but the caller's, on standard error. It takes
/// no lock and no memory that another thread may hold.
void print_stacks();
/// Ends the process there and then.
[[noreturn]] void end_hung_process();
