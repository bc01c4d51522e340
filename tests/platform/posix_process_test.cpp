// Scripts as programs, and what a host of this system may do to the ends of children.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>

#include <gtest/gtest.h>
#include <boost/thread/thread.hpp>

#include "platform/posix/faults.h"
#include "scratch.h"

namespace {

void write_script(const char* path, const std::string& text) {
    const auto file = machine().find(path);
    std::filesystem::create_directories(file.parent_path());
    write_file(file, text);
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
}

// The exit code of `C:\app\tool.exe WORD`, or the code of the failure with its sign changed.
int run_tool(int word) {
    STARTUPINFOW startup = {};
    PROCESS_INFORMATION information = {};
    std::wstring line = L"tool " + std::to_wstring(word);
    if (!CreateProcessW(L"C:\\app\\tool.exe", &line[0], nullptr, nullptr, FALSE, 0, nullptr,
                        nullptr, &startup, &information)) {
        return -static_cast<int>(GetLastError());
    }
    DWORD code = 0;
    WaitForSingleObject(information.hProcess, INFINITE);
    GetExitCodeProcess(information.hProcess, &code);
    CloseHandle(information.hProcess);
    CloseHandle(information.hThread);
    return static_cast<int>(code);
}

}  // namespace

TEST(scripts, run_and_fail_like_programs) {
    const auto open_before = platform::faults::open_handles();
    write_script("C:\\app\\tool.exe", "#!/bin/sh\nexit $1");
    EXPECT_EQ(5, run_tool(5));
    write_script("C:\\app\\tool.exe", "#!/bin/sh\nkill -SEGV $$");
    EXPECT_EQ(static_cast<int>(0xC0000005), run_tool(0));
    write_script("C:\\app\\tool.exe", "#!\n");
    EXPECT_EQ(-ERROR_BAD_EXE_FORMAT, run_tool(0));
    EXPECT_EQ(open_before, platform::faults::open_handles());
}

// The client library makes the system forget the ends of children; a host may reap them all.
TEST(scripts_threads, exit_code_is_true_whatever_the_host_does) {
    write_script("C:\\app\\tool.exe", "#!/bin/sh\nexit $1");
    std::atomic<bool> stop{false};
    for (bool ignored : {true, false}) {
        signal(SIGCHLD, ignored ? SIG_IGN : SIG_DFL);
        stop = false;
        boost::thread reaper([&] {
            while (!stop) {
                waitpid(-1, nullptr, WNOHANG);
                usleep(50);
            }
        });
        for (int code = 0; code < 20; ++code) {
            EXPECT_EQ(code, run_tool(code));
        }
        stop = true;
        reaper.join();
    }
}
