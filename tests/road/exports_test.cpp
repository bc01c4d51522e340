// The sixteen exports as a host meets them.
#include <fcntl.h>
#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

#include <algorithm>
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

TEST_F(Exports, WhatThisBuildLacksFailsThroughTheWholePath) {
    write();
    module_t module;
    ASSERT_EQ(module.init(log_name).code, ORALIB_OK);
    struct outcome_t {
        oralib_char* result = nullptr;
        oralib_char* error = nullptr;
        bool flag = false;
    } out;
    const text_t empty;
    const oralib_char* const w = empty.c_str();
    const struct {
        const char* phrase;
        const char* line;
        std::function<oralib_result()> call;
    } rows[] = {
        {"Failed to prepare dbs for backup", "Oracle manager failed to prepare dbs for backup",
         [&] {
             return module.function<decltype(OraclePrepareDbsForBackup)>(
                 "OraclePrepareDbsForBackup")(w, w, w, w, w, &out.result, &out.error);
         }},
        {"Failed to finish dbs backup", "Oracle manager failed to finish dbs backup",
         [&] {
             return module.function<decltype(OracleFinishDbsBackup)>("OracleFinishDbsBackup")(
                 w, w, w, &out.error);
         }},
        {"Failed to backup oracle logs.", "Oracle manager failed to backup archived logs",
         [&] {
             return module.function<decltype(OracleBackupLogs)>("OracleBackupLogs")(
                 w, w, w, w, w, w, &out.result, &out.error);
         }},
        {"Failed to enum oracle logs.", "Oracle manager failed to enum logs",
         [&] {
             return module.function<decltype(OracleEnumLogs)>("OracleEnumLogs")(&out.result,
                                                                                &out.error);
         }},
        {"Failed to remove oracle logs.", "Oracle manager failed to remove logs in temp",
         [&] {
             return module.function<decltype(OracleRemoveLogsInTemp)>("OracleRemoveLogsInTemp")(
                 w, &out.error);
         }},
        {"Failed to delete oracle logs by time",
         "Oracle manager failed to delete archived logs by time",
         [&] {
             return module.function<decltype(OracleDeleteLogsByTime)>("OracleDeleteLogsByTime")(
                 w, w, 1, w, w, &out.error);
         }},
        {"Failed to delete oracle logs by size",
         "Oracle manager failed to delete archived logs by time",
         [&] {
             return module.function<decltype(OracleDeleteLogsBySize)>("OracleDeleteLogsBySize")(
                 w, w, 1, w, w, &out.error);
         }},
        {"Failed to check if restore required",
         "Oracle manager failed to check if restore required",
         [&] {
             return module.function<decltype(OracleIsRestoreRequired)>("OracleIsRestoreRequired")(
                 &out.flag, &out.error);
         }},
        {"Failed to do oracle restore", "Oracle manager failed to do db restore",
         [&] { return module.function<decltype(OracleDoRestore)>("OracleDoRestore")(&out.error); }},
    };
    for (const auto& row : rows) {
        expect_in_log(row.phrase);
        out = outcome_t();
        EXPECT_EQ(row.call(), ORALIB_FAILED);
        EXPECT_EQ(out.result, nullptr);
        const std::string error = to_utf8(out.error);
        EXPECT_NE(error.find(" is not available in this build\n--tr:" + std::string(row.line)),
                  std::string::npos)
            << error;
        EXPECT_EQ(error.find(row.phrase), std::string::npos);
        module.free(out.error);
    }
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
    const std::string output = output_of([&] { EXPECT_EQ(module.test(log_name).code, ORALIB_OK); });
    const std::string sequence = "SELECT [SEQUENCE#] FROM V$ARCHIVED_LOG ORDER BY RECID";
    const std::string log_path = "Log path: " + sandbox::query_sql(folder, "ORCL", sequence) + "\n";
    EXPECT_NE(output.find("LOG: Initializing log file ...\n"), std::string::npos);
    EXPECT_NE(output.find("Checking SID: ORCL\nARCHIVE LOGS: ON\n" + log_path), std::string::npos)
        << output;
    EXPECT_NE(output.find("Checking SID: +ASM\nLOCAL: 0, ASM: 0\nok\n"), std::string::npos)
        << output;
    EXPECT_EQ(output.find("STBY"), std::string::npos);
}

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
