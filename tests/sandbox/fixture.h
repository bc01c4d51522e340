// A sandbox in a folder of the test's own, with the instances that the tests ask for.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

#include "tests/sandbox/client.h"

class SandboxTest : public testing::Test {
  protected:
    SandboxTest() {
        std::string name = testing::TempDir() + "sandbox-XXXXXX";
        directory = mkdtemp(&name[0]);
        setenv("ORALIB_SANDBOX", directory.c_str(), 1);
        unsetenv("ORACLE_HOME");
        home.path = "C:\\app\\oracle\\product\\19.0.0\\dbhome_1";
        home.name = "OraDB19Home1";
        home.base = "C:\\app\\oracle";
    }
    ~SandboxTest() override { std::filesystem::remove_all(directory); }

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

    std::string read(const std::string& path) const {
        std::ifstream file(sandbox::native_path(directory, path), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    bool exists(const std::string& path) const {
        return std::filesystem::exists(sandbox::native_path(directory, path));
    }

    std::filesystem::path directory;
    sandbox::home_t home;
};
