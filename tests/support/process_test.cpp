// Children: what they say, how they end, and what is made of it.
#include "support/process/process.h"

#include <boost/make_shared.hpp>

#include "platform/platform.h"
#include "support/exc/exc.h"
#include "support/machine.h"
#include "support/process/execute.h"
#include "support/process/starter.h"

namespace support_test {
namespace {

using namespace process_subsystem;

class Process : public Machine {
  protected:
    static std::string run(const SCommand& command) {
        std::string output;
        const std::string failure = failure_of([&] { execute(command, output); });
        return failure == "nothing" ? output : "failed: " + failure;
    }
};

TEST_F(Process, OutputEnvironmentAndExitCodes) {
    write_script("mixed.exe", "echo out; echo err >&2; echo \"$ORACLE_SID|$SystemRoot\"\n");
    write_script("three.exe", "echo reason; exit 3\n");
    write_script("tool.bat", "echo from bat $1\n");
    SCommand command = make_command("C:\\mixed.exe");
    command.environment.emplace_back("ORACLE_SID", "caf\xe9");
    EXPECT_EQ(run(command), "out\nerr\ncaf\xe9|C:\\Windows\n");
    EXPECT_EQ(run(make_command("C:\\three.exe")),
              "failed: Command: C:\\three.exe, arguments: , error: 3, exit code: 3\n"
              "Failed to execute command");
    EXPECT_EQ(run(make_command("C:\\tool.bat")), "from bat\n");
    EXPECT_EQ(make_command("x.bat").command + "|" + make_command("x.bat").arguments,
              "cmd.exe| /C x.bat");
    EXPECT_EQ(make_command("x.BAT").command, "x.BAT");
    const std::string missing = run(make_command("C:\\absent.exe"));
    EXPECT_NE(missing.find("Failed to create child process for: C:\\absent.exe"), std::string::npos)
        << missing;
}

TEST_F(Process, OneThatOutlastsItsTimeIsEnded) {
    write_script("slow.exe", "exec sleep 30\n");
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started{};
    process::CNonLogonProcessStarter starter;
    ASSERT_TRUE(starter.start(L"C:\\slow.exe", L"slow.exe", nullptr, startup, started));
    process::CWinProcess child(started.hProcess, started.hThread, {}, {}, 1);
    EXPECT_TRUE(child.is_active());
    EXPECT_EQ(failure_of([&] { child.get_exit_code(); }), "Process is still active");
    EXPECT_NO_THROW(child.set_priority(IDLE_PRIORITY_CLASS));
    EXPECT_EQ(failure_of([&] { child.wait(0); }),
              "Timed out waiting for process (PID: " + std::to_string(child.get_pid()) + ")");
    EXPECT_EQ(child.wait(5), 0u) << "ended with exit code 0";
    EXPECT_FALSE(child.is_active());
}

TEST_F(Process, Variables) {
    setenv("ORALIB_TEST_VARIABLE", "value", 1);
    EXPECT_EQ(util::CEnvironmentVariable::read("ORALIB_TEST_VARIABLE").assignment(),
              "ORALIB_TEST_VARIABLE=value");
    EXPECT_EQ(failure_of([] { util::CEnvironmentVariable::read("ORALIB_ABSENT"); }),
              "Failed to read environment variable: ORALIB_ABSENT");
}

}  // namespace
}  // namespace support_test
