// Sharing between two processes, one of them made by a fork, which Windows has not.
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "scratch.h"

namespace {

constexpr DWORD both = GENERIC_READ | GENERIC_WRITE;

// Runs `body` in another process; its result is the exit code.
template <typename Body>
int elsewhere(Body body) {
    const pid_t child = fork();
    if (child == 0) _exit(body());
    int status = 0;
    waitpid(child, &status, 0);
    return WEXITSTATUS(status);
}

}  // namespace

TEST(sharing, between_processes) {
    const std::wstring path = scratch_path(L"between");
    for (DWORD access : {GENERIC_READ, GENERIC_WRITE, both}) {
        for (DWORD share = 0; share < 4; ++share) {
            const HANDLE held = open_scratch(path, access, share);
            ASSERT_NE(INVALID_HANDLE_VALUE, held);
            for (DWORD other : {GENERIC_READ, GENERIC_WRITE, both}) {
                const bool expected = (!(other & GENERIC_READ) || share & FILE_SHARE_READ) &&
                                      (!(other & GENERIC_WRITE) || share & FILE_SHARE_WRITE);
                const int code = elsewhere([&] {
                    return open_scratch(path, other, 7) == INVALID_HANDLE_VALUE ? GetLastError()
                                                                                : 0;
                });
                EXPECT_EQ(expected ? 0 : ERROR_SHARING_VIOLATION, code);
            }
            CloseHandle(held);
        }
    }
}

TEST(sharing, locked_range_of_another_process) {
    const HANDLE held = open_scratch(scratch_path(L"range"), both, 3);
    ASSERT_TRUE(LockFile(held, 0, 0, 10, 0));
    const auto write = [] {
        const HANDLE file = open_scratch(scratch_path(L"range"), both, 3);
        DWORD done = 0;
        return WriteFile(file, "x", 1, &done, nullptr) ? 0 : static_cast<int>(GetLastError());
    };
    EXPECT_EQ(ERROR_LOCK_VIOLATION, elsewhere(write));
    CloseHandle(held);
    EXPECT_EQ(0, elsewhere(write));
}
