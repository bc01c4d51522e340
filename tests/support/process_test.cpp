// Children: what they say, how they end, and what is made of it.
#include "support/process/process.h"

#include <boost/make_shared.hpp>

#include "platform/platform.h"
#include "sandbox/native.h"
#include "support/exc/exc.h"
#include "support/fixture.h"
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
    machine.add_child("C:\\child.exe");
    machine.add_child("C:\\tool.bat");
    SCommand command = make_command("C:\\child.exe");
    command.environment.emplace_back("ORACLE_SID", "caf\xe9");
    command.environment.emplace_back("ORALIB_CHILD",
                                     "out out\\n err err\\n env ORACLE_SID env SystemRoot");
    const std::string root =
        machine_t::is_layered() ? "C:\\Windows" : sandbox::environment("SystemRoot");
    EXPECT_EQ(run(command), "out\nerr\ncaf\xe9" + root);
    command.environment.back() = {"ORALIB_CHILD", "out reason exit 3"};
    EXPECT_EQ(run(command),
              "failed: Command: C:\\child.exe, arguments: , error: 3, exit code: 3\n"
              "Failed to execute command");
    command = make_command("C:\\tool.bat");
    command.environment.emplace_back("ORALIB_CHILD", "out bat");
    EXPECT_EQ(run(command), "bat");
    EXPECT_EQ(make_command("x.bat").command + "|" + make_command("x.bat").arguments,
              "cmd.exe| /C x.bat");
    EXPECT_EQ(make_command("x.BAT").command, "x.BAT");
    const std::string missing = run(make_command("C:\\absent.exe"));
    EXPECT_NE(missing.find("Failed to create child process for: C:\\absent.exe"), std::string::npos)
        << missing;
}

TEST_F(Process, OneThatOutlastsItsTimeIsEnded) {
    machine.add_child("C:\\slow.exe");
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started{};
    process::CNonLogonProcessStarter starter;
    ASSERT_TRUE(starter.start(L"C:\\slow.exe", L"slow.exe sleep 30000", nullptr, startup, started));
    process::CWinProcess child(started.hProcess, started.hThread, {}, {}, 1);
    EXPECT_TRUE(child.is_active());
    EXPECT_EQ(failure_of([&] { child.get_exit_code(); }), "Process is still active");
    EXPECT_NO_THROW(child.set_priority(IDLE_PRIORITY_CLASS));
    EXPECT_EQ(failure_of([&] { child.wait(0); }),
              "Timed out waiting for process (PID: " + std::to_string(child.get_pid()) + ")");
    EXPECT_EQ(child.wait(5), 0u) << "ended with exit code 0";
    EXPECT_FALSE(child.is_active());
}

TEST_F(Process, AHelperThatKeepsTheOutputOpenCostsNoMoreThanTheLimit) {
    machine.add_child("C:\\child.exe");
    const struct {
        const char* words;
        std::uint32_t limit;
        int milliseconds;
    } cases[] = {{"out early helper out late", 2, 2000},
                 {"out early helper sleep 600 out late", 1, 1600}};
    for (const auto& entry : cases) {
        SCommand command = make_command("C:\\child.exe");
        command.environment.emplace_back("ORALIB_CHILD", entry.words);
        std::string output;
        const auto begin = boost::chrono::steady_clock::now();
        execute(command, output, entry.limit);
        const auto time = boost::chrono::steady_clock::now() - begin;
        EXPECT_EQ(output, "earlylate");
        EXPECT_GE(time, boost::chrono::milliseconds(entry.milliseconds));
        EXPECT_LT(time, boost::chrono::milliseconds(entry.milliseconds + 1500));
    }
    pipe::CWinPipe pipe;
    EXPECT_EQ(pipe.read_to_end(boost::chrono::milliseconds(1)), "") << "our own end is open";
}

TEST_F(Process, TheInterpreterIsTheSystems) {
    machine.add_child("C:\\tool.bat");
    machine.add_child("C:\\planted\\cmd.exe");
    SCommand command = make_command("C:\\tool.bat");
    command.environment.emplace_back("ORALIB_CHILD", "out ran args");
    const auto folder = std::filesystem::current_path();
    std::filesystem::current_path(machine.find("C:\\planted"));
    EXPECT_EQ(run(command), "ran") << "another would say its arguments";
    std::filesystem::current_path(folder);
}

TEST_F(Process, Variables) {
    sandbox::set_environment("ORALIB_TEST_VARIABLE", "value");
    EXPECT_EQ(util::CEnvironmentVariable::read("ORALIB_TEST_VARIABLE").assignment(),
              "ORALIB_TEST_VARIABLE=value");
    EXPECT_EQ(failure_of([] { util::CEnvironmentVariable::read("ORALIB_ABSENT"); }),
              "Failed to read environment variable: ORALIB_ABSENT");
}

}  // namespace
}  // namespace support_test
