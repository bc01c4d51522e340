// A sandbox in a folder of the test's own, with the instances that the tests ask for.
#pragma once

#include <gtest/gtest.h>

#include "machine.h"
#include "tests/sandbox/client.h"

class SandboxTest : public testing::Test {
  protected:
    SandboxTest() : directory(machine.folder) {
        sandbox::set_environment("ORACLE_HOME", "");
        home.path = "C:\\app\\oracle\\product\\19.0.0\\dbhome_1";
        home.name = "OraDB19Home1";
        home.base = "C:\\app\\oracle";
    }

    void add(const sandbox::instance_t& instance) {
        sandbox::server_t server(directory);
        server.add_home(home);
        server.set_account({"LAB\\backup", "secret", "Users, ora_dba", ""});
        server.set_account({"LAB\\guest", "secret", "Users", ""});
        server.add_instance(home, instance);
        server.write();
    }

    static sandbox::instance_t instance(const std::string& sid,
                                        const std::string& version = "19.0.0.0.0") {
        sandbox::instance_t result;
        result.sid = sid;
        result.version = version;
        return result;
    }

    std::string read(const std::string& path) const { return read_file(machine.find(path)); }
    bool exists(const std::string& path) const {
        return std::filesystem::exists(machine.find(path));
    }

    machine_t machine;
    const std::filesystem::path& directory;
    sandbox::home_t home;
};
