#include <chrono>
#include <string>
#include <thread>

#include "machine.h"
#include "sandbox/native.h"
#include "watchdog.h"

#include <gtest/gtest.h>

namespace {

TEST(Watchdog, DISABLED_Hangs) {
    std::thread([] { sandbox::sleep_forever(); }).join();
}

TEST(Watchdog, EndsATestThatHangsAndSaysWhere) {
    const auto folder = make_temporary_folder();
    const std::string self = testing::internal::GetArgvs()[0];
    sandbox::set_environment("ORALIB_TEST_LIMIT", "1");
    EXPECT_EQ(run_command(self + " --gtest_also_run_disabled_tests --gtest_filter=*Hangs 2> " +
                          (folder / "said").u8string()),
              hung_exit_code);
    const std::string said = read_file(folder / "said");
    remove_folder(folder);
    for (const char* part : {"The test hangs", "\nthread ", "watchdog_test"}) {
        EXPECT_NE(said.find(part), std::string::npos) << said;
    }
    EXPECT_NE(said.find("\nthread "), said.rfind("\nthread ")) << said;
}

}  // namespace
