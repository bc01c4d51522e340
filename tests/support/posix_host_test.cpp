// The name of the system, on machines whose facts are made up.
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

#include "platform/platform.h"
#include "platform/posix/faults.h"
#include "support/fixture.h"
#include "support/host/env_props.h"
#include "support/host/os_name.h"
#include "support/host/os_release.h"
#include "support/host/os_version.h"

namespace support_test {
namespace {

class Host : public Machine {
  protected:
    // The version is found once for each process, so each set of facts has its own.
    void in_a_process(const std::function<std::string()>& look, const std::string& seen) const {
        const pid_t child = fork();
        if (child == 0) {
            write_file(machine.folder / "seen", look());
            _exit(0);
        }
        waitpid(child, nullptr, 0);
        EXPECT_EQ(read_file(machine.folder / "seen"), seen);
    }
};

TEST_F(Host, FactsOfTheMachine) {
    const auto name = [] { return util::GetOsName(); };
    machine.write_host("os_build = 20348\nproduct_type = 8\n");
    in_a_process(name, "Microsoft Windows Server 2022 (21H2, 64-bit)");
    machine.write_registry(
        "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion]\n"
        "\"InstallationType\"=\"Server Core\"\n");
    in_a_process(name, "Microsoft Windows Server 2022 (21H2, 64-bit, Core)");
    machine.write_host(
        "os_build = 22000\nworkstation = yes\narchitecture = 0\nproduct_type = 48\n");
    in_a_process(name, "Microsoft Windows 11 (21H2, 32-bit)");
    const auto by_trial = [] {
        // Each number has its own search, as long as RtlGetVersion cannot be had.
        std::string found;
        for (const auto number : {util::GetOsMajor, util::GetOsMinor, util::GetOsBuild}) {
            platform::faults::arm("LoadLibraryA", 1, ERROR_MOD_NOT_FOUND);
            found += std::to_string(number()) + ".";
        }
        return found;
    };
    in_a_process(by_trial, "10.0.22000.");
}

TEST_F(Host, ServerCoreHasItsOwnProductTypes) {
    machine.write_registry(
        "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion]\n"
        "\"InstallationType\"=\"Server Core\"\n");
    const int rows[][2] = {{7, 13},  {8, 12},  {10, 14}, {17, 29}, {20, 43}, {21, 44}, {22, 45},
                           {23, 46}, {25, 63}, {36, 40}, {37, 39}, {38, 41}, {12, 12}, {48, 48}};
    for (const auto& row : rows) {
        machine.write_host("product_type = " + std::to_string(row[0]) + "\n");
        in_a_process([] { return std::to_string(util::GetOsProductType()); },
                     std::to_string(row[1]));
    }
}

TEST_F(Host, TheFullyQualifiedName) {
    machine.write_host("computer_name = DBHOST\ndomain = corp.example\n");
    const auto props = util::CollectEnvProps();
    EXPECT_EQ(props->serverName, L"DBHOST.corp.example");
}

}  // namespace
}  // namespace support_test
