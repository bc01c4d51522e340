// The tests, or with `--share PREFIX` one of the processes that one of them starts.
#include <gtest/gtest.h>

#include <string>

#include "watchdog.h"

int share_the_sandbox(const std::string& prefix);

int main(int argc, char** argv) {
    if (argc == 3 && argv[1] == std::string("--share")) {
        return share_the_sandbox(argv[2]);
    }
    testing::InitGoogleTest(&argc, argv);
    watch_tests();
    return RUN_ALL_TESTS();
}
