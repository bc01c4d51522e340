// The sixteen exports as a host meets them.
#include <fcntl.h>
#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

#include <algorithm>
#include <atomic>
#include <thread>

#include "road/road.h"

namespace road {
namespace {

class Exports : public Road {
  protected:
    // What `body` writes to standard output.
    std::string output_of(const std::function<void()>& body) const {
        const std::filesystem::path file = folder / "stdout.txt";
        std::fflush(stdout);
        const int saved = dup(1);
        const int target = open(file.string().c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        dup2(target, 1);
        close(target);
        body();
        std::fflush(stdout);
        dup2(saved, 1);
        close(saved);
        std::string text = read_file(file);
        text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
        return text;
    }
};

TEST_F(Exports, InitRunsOnceAndStopChangesNothing) {
    write();
    module_t module;
    EXPECT_EQ(module.stop().code, ORALIB_OK) << "without init";
    EXPECT_EQ(module.init(log_name).code, ORALIB_OK);
    const std::string after_first = log();
    set("OracleConnectionTimeout", 77);
    write();
    EXPECT_EQ(module.stop().code, ORALIB_OK);
    EXPECT_EQ(module.init("another.log").code, ORALIB_OK);
    EXPECT_EQ(log(), after_first);
    EXPECT_FALSE(
        std::filesystem::exists(machine.find("C:\\ProgramData\\Tarny\\ClientVault\\another.log")));
    module.free(nullptr);
}

TEST_F(Exports, TheDumpOfTheSettingsHasItsOrder) {
    write();
    module_t module;
    ASSERT_EQ(module.init(log_name).code, ORALIB_OK);
    const std::string text = log();
    std::string::size_type at = 0;
    for (const char* line :
         {"Oracle agent config:", "OracleConnectionTimeout: 300", "OracleRestoreWaitInSec: 45",
          "OracleAgentTtlSec: 600", "OracleWaitDbStartedAttemptCount: 30",
          "CheckAsmLogFileExistence: false", "SupportOracle10: false",
          "OracleStageLogsBeforeBackup: false", "DisableOracleProcessing: false",
          "UseOracleAutostartOption: false", "OracleSkipNoArchiveLogDB: false",
          "OracleTempLogPath: C:\\ProgramData\\Tarny\\Backup\\OracleLogBackup\\",
          "======================="}) {
        at = text.find(std::string("oralib") + line + "\n", at);
        ASSERT_NE(at, std::string::npos) << line;
    }
    EXPECT_EQ(text.find("CheckIfLogOnNetResource"), std::string::npos);
}

TEST_F(Exports, TroubleWithTheSettingsIsTold) {
    if (!machine_t::is_layered()) {
        GTEST_SKIP() << "Windows' own calls do not fail on demand";
    }
    set("OracleConnectionTimeout", 77);
    server.set_registry(settings_key, "LogDirectory", "C:\\ProgramData\\Tarny\\ClientVault");
    write();
    const auto start_with = [&](const std::string& fault) {
        clear_log();
        sandbox::set_environment("ORALIB_PLATFORM_FAULT", fault);
        module_t module;
        EXPECT_EQ(module.init(log_name).code, ORALIB_OK);
        sandbox::set_environment("ORALIB_PLATFORM_FAULT", "");
        return log();
    };
    const std::string without_folder = start_with("SHGetFolderPathW:1:5");
    EXPECT_NE(without_folder.find("oralibWARN|Failed to init base config\n"), std::string::npos);
    EXPECT_NE(without_folder.find("oralibOracleTempLogPath: \n"), std::string::npos);
    unsigned told = 0;
    for (int nth = 2; nth < 8; ++nth) {
        const std::string text = start_with("RegOpenKeyExW:" + std::to_string(nth) + ":5");
        const bool unread = text.find("oralibWARN|Failed to init oracle config\n") != text.npos;
        EXPECT_NE(text.find(unread ? "Timeout: 300\n" : "Timeout: 77\n"), std::string::npos);
        told += unread;
    }
    EXPECT_EQ(told, 1u);
    expect_in_log("");
}

TEST_F(Exports, ALogThatIsElsewhereSaysWhereAndWhy) {
    const struct {
        const char* directory;  // null: a number
        const char* log;
        const char* reason;
    } rows[] = {
        {"C:\\\xd0\x96urnal", "C:\\\xd0\x96urnal\\road.log", nullptr},
        {"C:\\file\\log", "C:\\road.log", ">>  |Failed to create directory [C:\\file\\log]."},
        {nullptr, "C:\\ProgramData\\Tarny\\ClientVault\\road.log",
         ">>  |Unexpected registry type: [4]."},
    };
    server.add_file("C:\\file");
    for (const auto& row : rows) {
        if (row.directory) {
            server.set_registry(settings_key, "LogDirectory", row.directory);
        } else {
            set("LogDirectory", 1);
        }
        write();
        module_t module;
        EXPECT_EQ(module.init(log_name).code, ORALIB_OK);
        const std::string text = read_file(machine.find(row.log));
        EXPECT_NE(text.find("OracleAgentTtlSec"), std::string::npos) << row.log;
        EXPECT_EQ(text.find("WARN|") == std::string::npos, row.reason == nullptr) << text;
        if (row.reason) {
            EXPECT_NE(text.find(std::string("WARN|The log is [") + row.log + "]"),
                      std::string::npos)
                << text;
            EXPECT_NE(text.find(row.reason), std::string::npos) << text;
        }
    }
    expect_in_log("and not where it was asked for");
}

TEST_F(Exports, AFailedInitCanBeTriedAgain) {
    write();
    const auto vault = machine.find("C:\\ProgramData\\Tarny");
    write_file(vault, "a file where the folder should be");
    server.set_registry(settings_key, "LogDirectory", "Q:\\absent\\log");
    write();
    module_t module;
    const answer_t failed = module.init(log_name);
    EXPECT_EQ(failed.code, ORALIB_FAILED);
    EXPECT_NE(failed.error.find("Failed to initialize log"), std::string::npos) << failed.error;
    std::filesystem::remove(vault);
    server.set_registry(settings_key, "LogDirectory", "C:\\ProgramData\\Tarny\\ClientVault");
    write();
    EXPECT_EQ(module.init("ignored.log").code, ORALIB_OK);
    EXPECT_EQ(count_in_log("Oracle agent config:"), 1u) << "the first name is kept";
}

TEST_F(Exports, OperationsWithoutADatabase) {
    server.add_home(home19());
    write();
    module_t module;
    ASSERT_EQ(module.init(log_name).code, ORALIB_OK);
    EXPECT_EQ(module.logs_folder().result, "C:\\ProgramData\\Tarny\\Backup\\OracleLogBackup\\");
    bool exists = true;
    EXPECT_EQ(module.asm_exists(exists).code, ORALIB_OK);
    EXPECT_FALSE(exists);
    sandbox::instance_t storage = instance("+ASM");
    storage.is_asm = true;
    server.add_instance(home19(), storage);
    write();
    EXPECT_EQ(module.asm_exists(exists).code, ORALIB_OK);
    EXPECT_TRUE(exists);
    EXPECT_TRUE(sandbox::read_journal(folder).empty());
}

TEST_F(Exports, TestPrintsWhatItReaches) {
    server.add_home(home19());
    sandbox::instance_t database = instance("ORCL");
    database.archived_logs.resize(2);
    server.add_instance(home19(), database);
    sandbox::instance_t mounted = instance("STBY");
    mounted.state = sandbox::state_t::mounted;
    server.add_instance(home19(), mounted);
    sandbox::instance_t storage = instance("+ASM");
    storage.is_asm = true;
    server.add_instance(home19(), storage);
    write();
    const int input = open("/dev/null", O_RDONLY);
    dup2(input, 0);
    close(input);

    module_t module;
    sandbox::set_fault(folder, "STBY",
                       {"OCIServerAttach", 1, sandbox::fault_kind::delay, 2000, ""});
    std::string before_the_second;
    const std::string output = output_of([&] {
        std::atomic<bool> done{false};
        std::thread tester([&] {
            EXPECT_EQ(module.test(log_name).code, ORALIB_OK);
            done = true;
        });
        while (!done && before_the_second.find("ARCHIVE LOGS") == std::string::npos) {
            before_the_second = read_file(folder / "stdout.txt");
        }
        EXPECT_FALSE(done) << "what is known is told while the next instance takes its time";
        tester.join();
    });
    const std::string sequence = "SELECT [SEQUENCE#] FROM V$ARCHIVED_LOG ORDER BY RECID";
    const std::string log_path = "Log path: " + sandbox::query_sql(folder, "ORCL", sequence) + "\n";
    EXPECT_NE(output.find("LOG: Initializing log file ...\n"), std::string::npos);
    EXPECT_NE(output.find("Checking SID: ORCL\nARCHIVE LOGS: ON\n" + log_path), std::string::npos)
        << output;
    EXPECT_NE(output.find("Checking SID: +ASM\nLOCAL: 0, ASM: 0\nok\n"), std::string::npos)
        << output;
    EXPECT_EQ(output.find("STBY"), std::string::npos);
}

#ifndef _WIN32
// Where services run nobody presses a key: with an input that never ends it comes back at once.
TEST_F(Exports, TestDoesNotWaitInTheSessionOfServices) {
    server.set_host("session", "0");
    write();
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    dup2(ends[0], 0);
    module_t module;
    output_of([&] { EXPECT_EQ(module.test(log_name).code, ORALIB_OK); });
    close(ends[0]);
    close(ends[1]);
}
#endif

TEST_F(Exports, OperationsOnSeveralThreads) {
    server.add_home(home19());
    server.add_instance(home19(), instance("ORCL"));
    write();
    module_t module;
    ASSERT_EQ(module.init(log_name).code, ORALIB_OK);
    std::thread explorer([&] { EXPECT_EQ(module.explore().code, ORALIB_OK); });
    std::vector<std::thread> others;
    for (int i = 0; i < 3; ++i) {
        others.emplace_back([&] {
            for (int n = 0; n < 5; ++n) {
                bool exists = true;
                EXPECT_EQ(module.asm_exists(exists).code, ORALIB_OK);
                EXPECT_FALSE(exists);
                module.logs_folder();
            }
        });
    }
    explorer.join();
    for (std::thread& thread : others) {
        thread.join();
    }
}

}  // namespace
}  // namespace road
