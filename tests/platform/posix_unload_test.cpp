// A module that carries this layer leaves the process when it is unloaded, and tells what it left.
#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "scratch.h"

TEST(unload_threads, leaves_nothing_behind) {
    setenv("ORALIB_HANDLE_REPORT", (machine().folder / "report").c_str(), 1);
    setenv("ORALIB_PLATFORM_FAULT", "CreateEventA:2:1450", 1);
    struct sigaction before, after;
    sigaction(SIGSEGV, nullptr, &before);
    for (int round = 1; round <= 3; ++round) {
        void* const module = dlopen(PLATFORM_MODULE, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(nullptr, module) << dlerror();
        EXPECT_TRUE(reinterpret_cast<bool (*)()>(dlsym(module, "use_module"))());
        EXPECT_EQ(1450u, reinterpret_cast<DWORD (*)()>(dlsym(module, "event_error"))());
        dlclose(module);
        EXPECT_EQ(nullptr, dlopen(PLATFORM_MODULE, RTLD_NOW | RTLD_NOLOAD));
    }
    sigaction(SIGSEGV, nullptr, &after);
    EXPECT_EQ(before.sa_sigaction, after.sa_sigaction);
    const std::string line =
        "events=1 files=0 keys=0 pipes=0 processes=0 threads=0 tokens=0 fault=spent\n";
    EXPECT_EQ(line + line + line, read_file(machine().folder / "report"));
    unsetenv("ORALIB_HANDLE_REPORT");
    Sleep(10);
}

// The module goes with the last of the threads that nobody waits for, and not before.
TEST(unload_threads, stays_for_those_left_behind) {
    const auto is_mapped = [] {
        void* const module = dlopen(PLATFORM_MODULE, RTLD_NOW | RTLD_NOLOAD);
        if (module) dlclose(module);
        return module != nullptr;
    };
    for (int round = 0; round < 50; ++round) {
        void* const module = dlopen(PLATFORM_MODULE, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(nullptr, module) << dlerror();
        int pipes[2][2];
        for (auto& ends : pipes) {
            ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
            reinterpret_cast<void (*)(int)>(dlsym(module, "leave_thread"))(ends[0]);
        }
        dlclose(module);
        EXPECT_TRUE(is_mapped());
        close(pipes[round % 2][1]);
        Sleep(1);
        EXPECT_TRUE(is_mapped());
        close(pipes[1 - round % 2][1]);
        for (int i = 0; i < 1000 && is_mapped(); ++i) {
            Sleep(1);
        }
        ASSERT_FALSE(is_mapped()) << round;
        close(pipes[0][0]);
        close(pipes[1][0]);
    }
}
