// Faults, the journal, leaks, and several processes at once.
#include <chrono>
#include <csignal>
#include <fstream>
#include <numeric>
#include <thread>

#ifndef _WIN32
#include <sys/wait.h>
#include <unistd.h>
#endif

#include "tests/sandbox/fixture.h"

using client::session_t;

namespace {

class Faults : public SandboxTest {
  protected:
    void SetUp() override { add(instance("ORCL")); }
};

TEST_F(Faults, StrikeAtTheNthCallAcrossSessions) {
    sandbox::set_fault(directory, "*", sandbox::ora("OCIServerAttach", 12535, 2));
    sandbox::set_fault(directory, "ORCL", sandbox::ora("SELECT%V$DATABASE", 1555, 2));
    sandbox::set_fault(directory, "ORCL", sandbox::status("OCISessionEnd", -24200, 0));
    EXPECT_EQ(session_t("ORCL").code, 0);
    EXPECT_EQ(session_t("ORCL").code, 12535);
    session_t oracle("ORCL");
    EXPECT_EQ(oracle.value("SELECT NAME FROM V$DATABASE"), "ORCL");
    EXPECT_EQ(oracle.value("SELECT STATUS FROM V$INSTANCE"), "OPEN");
    EXPECT_EQ(oracle.value("SELECT DBID FROM V$DATABASE"), "(none)");
    EXPECT_EQ(oracle.code, 1555);
    EXPECT_NE(oracle.value("SELECT DBID FROM V$DATABASE"), "(none)");
    EXPECT_EQ(OCISessionEnd(oracle.service, oracle.error, oracle.session, OCI_DEFAULT), -24200);
    EXPECT_EQ(OCISessionEnd(oracle.service, oracle.error, oracle.session, OCI_DEFAULT), -24200);
    sandbox::clear_faults(directory);
    sandbox::set_fault(directory, "ORCL", sandbox::ora("OCIEnvCreate", 600));
    EXPECT_EQ(session_t("ORCL").code, OCI_ERROR);
    sandbox::set_fault(directory, "ORCL",
                       {"OCIEnvCreate", 1, sandbox::fault_kind::env_left, 0, ""});
    {
        const session_t unborn("ORCL");
        EXPECT_EQ(unborn.code, OCI_ERROR);
        EXPECT_NE(unborn.env, nullptr);
    }
    const std::string bytes = "ORA-01100: \x81 \xD0\xBA \xFF\n";
    sandbox::set_fault(directory, "ORCL",
                       {"OCISessionBegin", 1, sandbox::fault_kind::ora, 1100, bytes});
    EXPECT_EQ(session_t("ORCL").text, bytes);
}

TEST_F(Faults, DelaysAreKept) {
    using std::chrono::milliseconds;
    const auto time_of = [](const auto& call) {
        const auto start = std::chrono::steady_clock::now();
        call();
        return std::chrono::steady_clock::now() - start;
    };
    sandbox::set_fault(directory, "ORCL", {"OCIErrorGet", 1, sandbox::fault_kind::delay, 30, ""});
    sandbox::set_fault(directory, "ORCL",
                       {"OCISessionEnd", 0, sandbox::fault_kind::delay_us, 30500, ""});
    session_t late("ORCL");
    EXPECT_GE(time_of([&] { EXPECT_EQ(late.run("ALTER DATABASE MOUNT"), 1100); }),
              milliseconds(30));
    auto nearest = milliseconds::max();
    for (int i = 0; i < 5; ++i) {
        const auto time =
            time_of([&] { OCISessionEnd(late.service, late.error, late.session, OCI_DEFAULT); });
        EXPECT_GE(time, std::chrono::microseconds(30500));
        nearest = std::min(nearest, std::chrono::duration_cast<milliseconds>(time));
    }
    EXPECT_EQ(nearest, milliseconds(30)) << "not even one of five met its microsecond";
}

TEST_F(Faults, ACallWaitsForItsSign) {
    for (int round = 0; round < 2; ++round) {
        sandbox::set_fault(directory, "ORCL", sandbox::wait("SELECT NAME%", 2));
        session_t oracle("ORCL");
        const std::string sql = "SELECT NAME FROM V$DATABASE";
        EXPECT_EQ(oracle.value(sql), "ORCL");
        std::string late;
        std::thread waiting([&] { late = oracle.value(sql); });
        while (sandbox::read_journal(directory).back().detail != "wait") {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_EQ(session_t("ORCL").run("CREATE OR REPLACE DIRECTORY D AS 'C:\\'"), 0);
        sandbox::release(directory);
        waiting.join();
        EXPECT_EQ(late, "ORCL");
        sandbox::clear_faults(directory);
    }
}

TEST_F(Faults, AHungCallHoldsNothing) {
    sandbox::set_fault(directory, "ORCL", sandbox::hang("OCIStmtFetch2"));
    // Its thread never comes back; the process ends under it.
    static auto* const oracle = new session_t("ORCL");
    std::thread([] { oracle->value("SELECT NAME FROM V$DATABASE"); }).detach();
    while (sandbox::read_journal(directory).back().detail != "hang") {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    session_t other("ORCL");
    EXPECT_EQ(other.run("CREATE DIRECTORY D AS 'C:\\'"), 0);
    EXPECT_EQ(other.value("SELECT NAME FROM V$DATABASE"), "ORCL");
}

// Windows has no signals for it; what its module makes of a crash is tested with the module.
#ifndef _WIN32
TEST_F(Faults, ACrashIsAFaultOfTheProcessor) {
    const std::pair<sandbox::fault_kind, int> cases[] = {{sandbox::fault_kind::crash, SIGSEGV},
                                                         {sandbox::fault_kind::divide, SIGFPE}};
    for (const auto& [kind, signal_number] : cases) {
        sandbox::set_fault(directory, "ORCL", {"OCISessionBegin", 1, kind, 0, ""});
        const pid_t child = fork();
        if (child == 0) {
            signal(signal_number, [](int) { _exit(42); });
            session_t oracle("ORCL");
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 42) << status;
    }
}
#endif

TEST_F(Faults, TheJournalHasEveryCallAndNoPassword) {
    {
        session_t oracle("ORCL", "system", "manager", OCI_DEFAULT);
        oracle.value("SELECT NAME\n\tFROM V$DATABASE");
    }
    std::string entries;
    for (const auto& record : sandbox::read_journal(directory)) {
        EXPECT_EQ(record.pid, sandbox::process_id());
        EXPECT_EQ(record.sid, "ORCL");
        entries += record.entry.substr(3) + " ";
    }
    EXPECT_EQ(entries,
              "EnvCreate HandleAlloc HandleAlloc HandleAlloc HandleAlloc ServerAttach AttrSet "
              "AttrSet AttrSet AttrSet SessionBegin HandleAlloc StmtPrepare DefineByPos "
              "StmtExecute StmtFetch2 StmtFetch2 HandleFree SessionEnd ServerDetach HandleFree "
              "HandleFree HandleFree HandleFree HandleFree ");
    EXPECT_EQ(sandbox::executed_statements(directory, "ORCL"),
              std::vector<std::string>{"SELECT NAME\n\tFROM V$DATABASE"});
    EXPECT_EQ(read_file(sandbox::journal_file(directory)).find("manager"), std::string::npos);
    sandbox::clear_journal(directory);
    sandbox::set_environment("ORALIB_JOURNAL", "0");
    session_t("ORCL").value("SELECT NAME FROM V$DATABASE");
    EXPECT_TRUE(sandbox::read_journal(directory).empty());
    sandbox::set_environment("ORALIB_JOURNAL", "");
    std::ofstream(directory / "oracle/journal.off");
    session_t("ORCL").value("SELECT NAME FROM V$DATABASE");
    EXPECT_TRUE(sandbox::read_journal(directory).empty());
}

TEST_F(Faults, LeakedHandlesAreNoted) {
    {
        session_t oracle("ORCL");
        auto* forgotten = oracle.prepare("SELECT NAME FROM V$DATABASE");
        char text[8];
        OCIDefine* define = nullptr;
        OCIDefineByPos(forgotten, &define, oracle.error, 1, text, 8, SQLT_STR, nullptr, nullptr,
                       nullptr, OCI_DEFAULT);
    }
    EXPECT_EQ(sandbox::read_leaks(directory), std::vector<std::string>{"STMT 1, DEFINE 1"});
}

TEST_F(Faults, TheClientCanBeUnloadedAndNotesWhatWasLeft) {
    const std::string times = (directory / "times").string();
    sandbox::set_environment("ORALIB_OCI_TIMES", times);
    sandbox::set_environment("ORALIB_OCI_LOAD_MS", "50");
    sandbox::set_environment("ORACLE_SID", "ORCL");
    // A copy under another name is a library of its own, which this process can let go.
    const auto copy = directory / "client.so";
    std::filesystem::copy_file(CLIENT_LIBRARY, copy);
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 3; ++i) {
        const sandbox::library_t library(copy);
        auto* create = reinterpret_cast<decltype(&OCIEnvCreate)>(library.find("OCIEnvCreate"));
        OCIEnv* env = nullptr;
        EXPECT_EQ(create(&env, OCI_THREADED, nullptr, nullptr, nullptr, nullptr, 0, nullptr), 0);
    }
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(150));
    sandbox::set_environment("ORALIB_OCI_LOAD_MS", "");
    EXPECT_EQ(sandbox::read_leaks(directory), std::vector<std::string>(3, "ENV 1"));
    std::ifstream file(times);
    std::string line;
    ASSERT_TRUE(std::getline(file, line));
    EXPECT_NE(line.find(" calls=1"), std::string::npos) << line;
    sandbox::set_environment("ORALIB_OCI_TIMES", "");
}

TEST_F(Faults, ProcessesShareASandbox) {
    sandbox::set_fault(directory, "ORCL", sandbox::ora("CREATE DIRECTORY%", 1, 25));
    const std::string self = testing::internal::GetArgvs()[0];
    std::vector<int> failures(4);
    std::vector<std::thread> waiting;
    for (std::size_t i = 0; i < failures.size(); ++i) {
        waiting.emplace_back(
            [&, i] { failures[i] = run_command(self + " --share " + char('0' + i)); });
    }
    for (std::thread& thread : waiting) {
        thread.join();
    }
    EXPECT_EQ(std::accumulate(failures.begin(), failures.end(), 0), 1);
    EXPECT_EQ(sandbox::query_sql(directory, "ORCL", "SELECT COUNT(*) FROM DBA_DIRECTORIES"), "39");
}

}  // namespace

// What each of the processes above does; its failures are the exit code.
int share_the_sandbox(const std::string& prefix) {
    int failures = 0;
    for (int n = 0; n < 10; ++n) {
        session_t oracle("ORCL");
        failures +=
            oracle.run("CREATE DIRECTORY D" + prefix + "_" + std::to_string(n) + " AS 'C:\\'") != 0;
    }
    return failures;
}
