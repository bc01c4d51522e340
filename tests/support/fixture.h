// A machine of the test's own, for the tests of the support classes.
#pragma once

#include <gtest/gtest.h>

#include "machine.h"

namespace support_test {

class Machine : public testing::Test {
  protected:
    machine_t machine;
    const std::filesystem::path drive = machine.drive();
};

/// what() of what `body` throws; "nothing" if it throws nothing.
template <typename Body>
std::string failure_of(const Body& body) {
    try {
        body();
    } catch (const std::exception& e) {
        return e.what();
    }
    return "nothing";
}

}  // namespace support_test
