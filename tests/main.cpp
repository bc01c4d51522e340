#include <gtest/gtest.h>

#include "watchdog.h"

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    watch_tests();
    return RUN_ALL_TESTS();
}
