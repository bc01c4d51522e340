// A module that carries this layer leaves the process when it is unloaded, and tells what it left.
#include <dlfcn.h>
#include <signal.h>
#include <stdlib.h>

#include <gtest/gtest.h>

#include "scratch.h"

TEST(unload_threads, leaves_nothing_behind) {
    setenv("ORALIB_HANDLE_REPORT", (machine().folder / "report").c_str(), 1);
    setenv("ORALIB_PLATFORM_FAULT", "CreateEventA:2:1450", 1);
    struct sigaction before[2], after[2];
    sigaction(SIGSEGV, nullptr, &before[0]);
    sigaction(SIGRTMAX - 2, nullptr, &before[1]);
    for (int round = 1; round <= 3; ++round) {
        void* const module = dlopen(PLATFORM_MODULE, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(nullptr, module) << dlerror();
        EXPECT_TRUE(reinterpret_cast<bool (*)()>(dlsym(module, "use_module"))());
        EXPECT_EQ(1450u, reinterpret_cast<DWORD (*)()>(dlsym(module, "event_error"))());
        dlclose(module);
        EXPECT_EQ(nullptr, dlopen(PLATFORM_MODULE, RTLD_NOW | RTLD_NOLOAD));
    }
    sigaction(SIGSEGV, nullptr, &after[0]);
    sigaction(SIGRTMAX - 2, nullptr, &after[1]);
    EXPECT_EQ(before[0].sa_sigaction, after[0].sa_sigaction);
    EXPECT_EQ(before[1].sa_sigaction, after[1].sa_sigaction);
    const std::string line =
        "events=1 files=0 keys=0 pipes=0 processes=0 threads=0 tokens=0 fault=spent\n";
    EXPECT_EQ(line + line + line, read_file(machine().folder / "report"));
    unsetenv("ORALIB_HANDLE_REPORT");
    Sleep(10);
}
