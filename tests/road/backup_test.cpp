// From prepare to restore: what the databases go through, and what stands in the documents.
#include <algorithm>
#include <chrono>

#include "road/road.h"

namespace road {
namespace {

using strings_t = std::vector<std::string>;

class Backup : public Road {
  protected:
    Backup() {
        server.add_home(home19());
        set("OracleRestoreWaitInSec", 0u);
        set("OracleWaitDbStartedAttemptCount", 1u);
        server.set_host("sleep_divisor", "1000");
    }

    void add(const std::string& sid, bool archive_log = true,
             const std::vector<std::string>& pdbs = {}) {
        sandbox::instance_t made = instance(sid);
        made.archive_log = archive_log;
        for (const std::string& name : pdbs) {
            made.pdbs.emplace_back();
            made.pdbs.back().name = name;
        }
        server.add_instance(home19(), made);
    }

    void start(module_t& module) {
        write();
        ASSERT_EQ(module.init(log_name).code, ORALIB_OK);
    }

    // How many files of the database are in backup mode.
    std::string in_backup(const std::string& sid) const {
        return sandbox::query_sql(folder, sid,
                                  "SELECT COUNT(*) FROM V$BACKUP WHERE STATUS = 'ACTIVE'");
    }
    std::string mode_of(const std::string& sid, const std::string& pdb) const {
        return sandbox::query_sql(folder, sid,
                                  "SELECT OPEN_MODE FROM V$PDBS WHERE NAME = '" + pdb + "'");
    }
    // Statements that change something.
    strings_t changes(const std::string& sid) const {
        strings_t statements = sandbox::executed_statements(folder, sid);
        statements.erase(std::remove_if(statements.begin(), statements.end(),
                                        [](const std::string& sql) {
                                            return sql.rfind("SELECT", 0) == 0 ||
                                                   sql.rfind("select", 0) == 0;
                                        }),
                         statements.end());
        return statements;
    }
    std::filesystem::path meta_file() const {
        return machine.find("C:\\ProgramData\\Tarny\\Backup\\OracleLogBackup\\OracleMeta.xml");
    }
    static std::string action(const document_t& document, const std::string& sid) {
        return document.attribute("database[" + sid + "]", "action");
    }
};

const strings_t begun = {"ALTER DATABASE BEGIN BACKUP", "ALTER SYSTEM ARCHIVE LOG CURRENT",
                         "ALTER SYSTEM ARCHIVE LOG ALL"};
const strings_t ended = {"ALTER DATABASE END BACKUP", "ALTER SYSTEM ARCHIVE LOG CURRENT"};

TEST_F(Backup, PrepareAndFinishOnTheLiveMachine) {
    add("HOT", true, {"SALES"});
    add("COLD", false);
    expect_in_log("Failed to end OCI session");  // of a try at the one that is down
    sandbox::instance_t down = instance("DOWN");
    down.state = sandbox::state_t::mounted;
    server.add_instance(home19(), down);
    sandbox::instance_t storage = instance("+ASM");
    storage.is_asm = true;
    server.add_instance(home19(), storage);
    expect_in_log("Failed to archive logs all");
    module_t module;
    start(module);
    const answer_t prepared = module.prepare();
    ASSERT_EQ(prepared.code, ORALIB_OK) << prepared.error;
    EXPECT_EQ(validate(prepared.result, "prepare.xsd"), "");
    EXPECT_TRUE(sandbox::executed_statements(folder, "+ASM").empty());
    const document_t document(prepared.result);
    EXPECT_EQ(action(document, "HOT"), "2");
    EXPECT_EQ(action(document, "COLD"), "3");
    EXPECT_EQ(action(document, "DOWN"), "1");
    EXPECT_EQ(in_backup("HOT"), "5");
    EXPECT_EQ(sandbox::get_state(folder, "COLD"), sandbox::state_t::down);
    EXPECT_EQ(changes("HOT"), begun);
    EXPECT_EQ(document.list("database[HOT]/pdbs", "name"), (strings_t{"PDB$SEED", "SALES"}));
    EXPECT_EQ(document.attribute("database[HOT]", "scn"),
              sandbox::query_sql(folder, "HOT",
                                 "SELECT MIN([CHECKPOINT_CHANGE#]) FROM V$DATAFILE_HEADER"));
    EXPECT_EQ(document.list("database[HOT]/archived_logs", "seqNum"), strings_t{"1"});
    EXPECT_EQ(document.attribute("database[HOT]", "lastLogNum"), "0");
    EXPECT_EQ(document.attribute("database[HOT]", "maxLogRecId"), "1");
    EXPECT_EQ(document.attribute("database[HOT]", "maxLogStamp"),
              sandbox::query_sql(folder, "HOT", "SELECT STAMP FROM V$ARCHIVED_LOG"));
    EXPECT_TRUE(std::filesystem::exists(meta_file()));
    bool required = false;
    EXPECT_EQ(module.is_restore_required(required).code, ORALIB_OK);
    EXPECT_TRUE(required);

    sandbox::clear_journal(folder);
    ASSERT_EQ(module.finish(prepared.result).code, ORALIB_OK);
    EXPECT_EQ(changes("HOT"), ended);
    EXPECT_EQ(in_backup("HOT"), "0");
    EXPECT_EQ(sandbox::get_state(folder, "COLD"), sandbox::state_t::open);
    EXPECT_EQ(sandbox::get_state(folder, "DOWN"), sandbox::state_t::mounted);
    EXPECT_FALSE(std::filesystem::exists(meta_file()));
    EXPECT_EQ(module.is_restore_required(required).code, ORALIB_OK);
    EXPECT_FALSE(required);
}

TEST_F(Backup, TheImageIsBroughtBackOnAnotherMachine) {
    add("HOT", true, {"SALES", "HR", "CRM"});
    add("COLD", false);
    expect_in_log("Failed to end OCI session");
    expect_in_log("Failed to archive logs all");
    module_t module;
    start(module);
    sandbox::run_sql(folder, "HOT", "UPDATE sandbox_pdb SET mode = 'MIGRATE' WHERE name = 'CRM'");
    ASSERT_EQ(module.prepare().code, ORALIB_OK);
    sandbox::boot(folder);
    sandbox::clear_journal(folder);
    EXPECT_EQ(sandbox::get_state(folder, "HOT"), sandbox::state_t::mounted);
    EXPECT_EQ(mode_of("HOT", "SALES"), "MOUNTED");
    // Two that do not open with their database.
    sandbox::run_sql(folder, "HOT",
                     "UPDATE sandbox_pdb SET saved_mode = 'MOUNTED' WHERE name IN ('HR', 'CRM')");
    const answer_t restored = module.restore();
    EXPECT_EQ(restored.code, ORALIB_OK) << restored.error;
    EXPECT_EQ(changes("HOT"), (strings_t{"ALTER DATABASE END BACKUP", "ALTER DATABASE OPEN",
                                         "ALTER SYSTEM ARCHIVE LOG CURRENT",
                                         "ALTER PLUGGABLE DATABASE \"HR\" OPEN READ WRITE",
                                         "ALTER PLUGGABLE DATABASE \"CRM\" OPEN UPGRADE"}));
    EXPECT_EQ(sandbox::get_state(folder, "COLD"), sandbox::state_t::open);
    EXPECT_EQ(mode_of("HOT", "SALES"), "READ WRITE");
    EXPECT_FALSE(std::filesystem::exists(meta_file()));
}

TEST_F(Backup, WithoutAutostartNothingIsOpenedAfterARestore) {
    set("UseOracleAutostartOption", 1);
    sandbox::instance_t made = instance("HOT");
    made.autostart = "FALSE";
    made.pdbs.resize(1);
    made.pdbs[0].name = "SALES";
    server.add_instance(home19(), made);
    add("COLD", false);
    expect_in_log("Failed to archive logs all");
    module_t module;
    start(module);
    ASSERT_EQ(module.prepare().code, ORALIB_OK);
    sandbox::boot(folder);
    sandbox::clear_journal(folder);
    EXPECT_EQ(module.restore().code, ORALIB_OK);
    EXPECT_EQ(changes("HOT"), strings_t{"ALTER DATABASE END BACKUP"});
    EXPECT_TRUE(sandbox::executed_statements(folder, "COLD").empty());
}

TEST_F(Backup, ARestoreWaitsForAnInstanceThatIsComingOrGoing) {
    add("ORCL");
    set("OracleWaitDbStartedAttemptCount", 2u);
    expect_in_log("");
    module_t module;
    start(module);
    const struct {
        int ora_number;
        const char* in_backup;
    } rows[] = {{1033, "0"}, {1034, "0"}, {1089, "0"},  {1090, "0"},
                {3113, "0"}, {3114, "0"}, {27101, "0"}, {600, "4"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.ora_number);
        ASSERT_EQ(module.prepare().code, ORALIB_OK);
        sandbox::boot(folder);
        sandbox::set_fault(folder, "ORCL",
                           sandbox::ora("SELECT STATUS FROM V$INSTANCE", row.ora_number));
        ASSERT_EQ(module.restore().code, ORALIB_OK);
        EXPECT_EQ(in_backup("ORCL"), row.in_backup);
        sandbox::clear_faults(folder);
        if (!machine_t::is_layered()) {
            break;  // where each attempt takes its 15 seconds
        }
    }
    EXPECT_EQ(count_in_log("Wait for db initialization, attempt 1 of 2"),
              machine_t::is_layered() ? std::size(rows) - 1 : 1);
    EXPECT_EQ(count_in_log("attempt 2 of 2"), 0u);
}

TEST_F(Backup, WhatADatabaseIsDecidesItsAction) {
    const struct {
        const char* name;
        std::function<void(sandbox::instance_t&)> make;
        const char* setting;
        const char* action;
        strings_t statements;
        const char* sql = nullptr;
    } rows[] = {
        {"archive log", [](auto&) {}, nullptr, "2", begun},
        {"disabled", [](auto&) {}, "DisableOracleProcessing", "6", {}},
        {"disabled, no archive log",
         [](auto& i) { i.archive_log = false; },
         "DisableOracleProcessing",
         "5",
         {}},
        {"no archive log, skipped",
         [](auto& i) { i.archive_log = false; },
         "OracleSkipNoArchiveLogDB",
         "5",
         {}},
        {"log mode not told",
         [](auto&) {},
         nullptr,
         "0",
         {},
         "UPDATE sandbox_instance SET log_mode = NULL"},
        {"log mode not told, skipped",
         [](auto&) {},
         "OracleSkipNoArchiveLogDB",
         "5",
         {},
         "UPDATE sandbox_instance SET log_mode = NULL"},
        {"version 10", [](auto& i) { i.version = "10.2.0.4.0"; }, nullptr, "6", {}},
        {"version 10, supported", [](auto& i) { i.version = "10.2.0.4.0"; }, "SupportOracle10", "2",
         begun},
        {"mounted", [](auto& i) { i.state = sandbox::state_t::mounted; }, nullptr, "1", {}},
        {"own name inside", [](auto& i) { i.sid = "XTarnyTmp"; }, nullptr, "2", begun},
        {"own name", [](auto& i) { i.sid = "TarnyTmpX"; }, nullptr, "", {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        machine.reset();
        server = sandbox::server_t(folder);
        server.add_home(home19());
        sandbox::instance_t made = instance("ORCL");
        row.make(made);
        server.add_instance(home19(), made);
        if (row.setting) {
            set(row.setting, 1);
        }
        if (row.sql) {
            sandbox::run_sql(folder, made.sid, row.sql);
        }
        expected = row.statements.empty() ? strings_t() : strings_t{"Failed to archive logs all"};
        if (row.action == std::string("0")) {
            expected = {"The database did not tell its log mode"};
        }
        module_t module;
        start(module);
        const answer_t answer = module.prepare();
        ASSERT_EQ(answer.code, ORALIB_OK) << answer.error;
        EXPECT_EQ(action(document_t(answer.result), made.sid), row.action);
        EXPECT_EQ(changes(made.sid), row.statements);
    }
}

TEST_F(Backup, ADatabaseAlreadyInBackupModeIsTakenOver) {
    add("ORCL");
    sandbox::run_sql(folder, "ORCL",
                     "UPDATE sandbox_datafile SET backup_change = 1 WHERE file = 2");
    expect_in_log("Database already in backup state");
    expect_in_log("Failed to archive logs all");
    module_t module;
    start(module);
    const answer_t prepared = module.prepare();
    EXPECT_EQ(action(document_t(prepared.result), "ORCL"), "2");
    for (const char* status : {"SUSPENDED", "ACTIVE"}) {
        sandbox::run_sql(
            folder, "ORCL",
            "UPDATE sandbox_instance SET database_status = '" + std::string(status) + "'");
        ASSERT_EQ(module.finish(prepared.result).code, ORALIB_OK);
        EXPECT_EQ(in_backup("ORCL"), status == std::string("ACTIVE") ? "0" : "1");
    }
}

TEST_F(Backup, AFailureLeavesItsTraceInTheDocument) {
    add("ORCL");
    add("OTHER");
    expect_in_log("Failed to prepare db for backup. Sid: ORCL");
    expect_in_log("Failed to archive logs all");
    module_t module;
    start(module);
    const struct {
        const char* statement;
        const char* action;
        const char* flag;
    } rows[] = {{"ALTER DATABASE BEGIN BACKUP", "0", "false"},
                {"ALTER SYSTEM ARCHIVE LOG CURRENT", "2", "true"},
                {"SELECT NAME, FIRST_CHANGE#%", "2", "true"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.statement);
        sandbox::set_fault(folder, "ORCL", sandbox::ora(row.statement, 600));
        const answer_t prepared = module.prepare();
        sandbox::clear_faults(folder);
        EXPECT_EQ(validate(prepared.result, "prepare.xsd"), "");
        const document_t document(prepared.result);
        EXPECT_EQ(action(document, "ORCL"), row.action);
        EXPECT_EQ(document.attribute("database[ORCL]", "BackupWithBackupState"), row.flag);
        EXPECT_NE(document.attribute("database[ORCL]", "errMsg").find("ORA-00600"),
                  std::string::npos);
        EXPECT_EQ(action(document, "OTHER"), "2");
        ASSERT_EQ(module.finish(prepared.result).code, ORALIB_OK);
        EXPECT_EQ(in_backup("ORCL"), "0");
        EXPECT_EQ(in_backup("OTHER"), "0");
    }
}

TEST_F(Backup, DocumentsFromAHostileHand) {
    add("ORCL");
    module_t module;
    start(module);
    for (const char* document :
         {"", "no xml", "<other/>", "<databases><database/></databases>",
          "<databases><database sid=\"ORCL\" home=\"\" timeUtc=\"\" scn=\"\" action=\"x\" "
          "autostart=\"true\" reverted=\"true\" lastLogNum=\"\" maxLogRecId=\"\" "
          "maxLogStamp=\"\"><pdbs/><archived_logs/></database></databases>",
          "<databases><database sid=\"ORCL\" home=\"\" timeUtc=\"\" scn=\"\" action=\"2\" "
          "reverted=\"true\" lastLogNum=\"\" maxLogRecId=\"\" maxLogStamp=\"\"><pdbs/>"
          "<archived_logs/></database></databases>"}) {
        EXPECT_EQ(module.finish(document).code, ORALIB_FAILED) << document;
    }
    // The parser would take hours over the one, and the stack for the other.
    std::string wide = "<databases";
    for (int i = 0; i < 100000; ++i) {
        wide += " a" + std::to_string(i) + "=''";
    }
    std::string deep = "<databases>";
    for (int i = 0; i < 100000; ++i) {
        deep += "<a>";
    }
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(module.finish(wide + "/>").code, ORALIB_FAILED);
    EXPECT_EQ(module.finish(deep).code, ORALIB_FAILED);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
    EXPECT_TRUE(sandbox::executed_statements(folder).empty());
    expect_in_log("Failed to finish dbs backup");
}

// By then the databases are changed, and without the document nobody could change them back.
TEST_F(Backup, TheDocumentComesEvenWhereNoMetaFileCanBeMade) {
    add("ORCL");
    server.set_registry(settings_key, "OracleTempLogPath", "C:\\file\\staging\\");
    server.add_file("C:\\file");
    expect_in_log("Failed to save oracle backup meta");
    expect_in_log("Failed to archive logs all");
    module_t module;
    start(module);
    const answer_t prepared = module.prepare();
    ASSERT_EQ(prepared.code, ORALIB_OK) << prepared.error;
    EXPECT_EQ(action(document_t(prepared.result), "ORCL"), "2");
}

TEST_F(Backup, TheMetaFileIsWholeOrAbsent) {
    if (!machine_t::is_layered()) {
        GTEST_SKIP() << "a real disk fails when it likes";
    }
    add("ORCL");
    write();
    expect_in_log("");
    const std::string held = "MoveFileExW:1:32";  // for a moment
    const std::string faults[] = {"MoveFileExW:1:112", "FlushFileBuffers:1:112",
                                  "FlushFileBuffers:2:112", held};
    for (const std::string& fault : faults) {
        sandbox::set_environment("ORALIB_PLATFORM_FAULT", fault);
        module_t module;
        ASSERT_EQ(module.init(log_name).code, ORALIB_OK);
        const answer_t prepared = module.prepare();
        EXPECT_EQ(action(document_t(prepared.result), "ORCL"), "2") << fault;
        EXPECT_EQ(std::filesystem::exists(meta_file()), fault == held) << fault;
        EXPECT_EQ(std::filesystem::is_empty(meta_file().parent_path()), fault != held) << fault;
        sandbox::set_environment("ORALIB_PLATFORM_FAULT", "");
    }
    EXPECT_EQ(count_in_log("WARN|Failed to save oracle backup meta"), std::size(faults) - 1);
}

TEST_F(Backup, AHomeThatNoDocumentCanHoldFailsBeforeAnythingIsChanged) {
    add("ORCL");
    sandbox::home_t home = home19();
    home.path = "C:\\app\\\xd0\x96";
    home.name = "Other";
    server.add_home(home);
    sandbox::instance_t made = instance("OTHER");
    made.db_name = "OTHER";
    server.add_instance(home, made);
    expect_in_log("Failed to prepare dbs for backup");
    expect_in_log("Unable to check if Oracle home is read only");
    module_t module;
    start(module);
    EXPECT_EQ(module.prepare().code, ORALIB_FAILED);
    EXPECT_EQ(changes("ORCL"), strings_t{});
}

TEST_F(Backup, NoPasswordInTheMetaFileNorInWhatIsSaidOfADamagedOne) {
    add("ORCL");
    module_t module;
    start(module);
    ASSERT_EQ(module.prepare("", "SYS", "oracle", "LAB\\keeper", distinctive_password).code,
              ORALIB_OK);
    // base64 of the password at each place in a group of three bytes, without its ends
    const strings_t forms = {distinctive_password, "WnE3LVBhc3N3MHJkLVpxN", "pxNy1QYXNzdzByZC1acT",
                             "acTctUGFzc3cwcmQtWnE3"};
    const auto is_told = [&](const std::string& text) {
        return std::any_of(forms.begin(), forms.end(), [&](const std::string& form) {
            return text.find(form) != std::string::npos;
        });
    };
    EXPECT_FALSE(is_told(read_file(meta_file())));
    EXPECT_EQ(validate(read_file(meta_file()), "meta.xsd"), "");
    expect_in_log("Unable to deserialize protected credentials");
    expect_in_log("Failed to archive logs all");
    expect_in_log("Failed to get restore meta content");
    expect_in_log("Failed to do oracle restore");
    for (
        const char* content :
        // <root u="a2VlcGVy" p="WnE3LVBhc3N3MHJkLVpxNw==" and no more, as an account's form
        {"<restore dbPrepareXml=\"\" os_conn=\"PHJvb3QgdT0iYTJWbGNHVnkiIHA9IlduRTNMVkJoYzNOM01ISmtM"
         "VnB4Tnc9PSI=\"/>",
         "<restore os_conn=\"WnE3LVBhc3N3MHJkLVpxNw==\""}) {
        write_file(meta_file(), content);
        const answer_t restored = module.restore();
        EXPECT_EQ(restored.code, ORALIB_FAILED);
        EXPECT_FALSE(is_told(restored.error));
    }
    EXPECT_FALSE(is_told(log()));
}

TEST_F(Backup, ARestoreUnderAnAccountThatCannotBeLeftSaysSo) {
    if (!machine_t::is_layered()) {
        GTEST_SKIP() << "accounts are made up by the layer alone";
    }
    server.set_account({"LAB\\keeper", distinctive_password, "", ""});
    write();
    std::filesystem::create_directories(meta_file().parent_path());
    for (const char* fault : {"", "RevertToSelf:1:5"}) {
        // <databases/>; <root u="..." p="..." /> with LAB\keeper and base64 of the password
        write_file(
            meta_file(),
            "<restore dbPrepareXml=\"PGRhdGFiYXNlcy8+\" os_conn=\"PHJvb3QgdT0iVEVGQ1hHdGxaWEJs"
            "Y2c9PSIgcD0iVjI1Rk0weFdRbWhqTTA0elRVaEthMHhXY0hoT2R6MDkiIC8+\"/>");
        sandbox::set_environment("ORALIB_PLATFORM_FAULT", fault);
        module_t module;
        ASSERT_EQ(module.init(log_name).code, ORALIB_OK);
        const answer_t restored = module.restore();
        EXPECT_EQ(restored.code, ORALIB_OK) << restored.error;
        EXPECT_EQ(count_in_log("ERR |"), *fault ? 1u : 0u);
        sandbox::set_environment("ORALIB_PLATFORM_FAULT", "");
    }
    expect_in_log("The thread keeps the account that the restore ran under");
}

// The log, the journal and the meta file are searched for it; so is what each call says.
TEST_F(Backup, NoOperationTellsThePasswordOfTheOneWhoAsks) {
    sandbox::instance_t made = instance("ORCL");
    made.users = {{"backup_dba", distinctive_password, true}};
    made.archived_logs.resize(3);
    server.add_instance(home19(), made);
    expect_in_log("");
    module_t module;
    start(module);
    const std::string home = home19().path;
    for (const char* const name : {"backup_dba", "SYSTEM"}) {
        const std::string user = name, password = distinctive_password;
        const answer_t prepared = module.prepare("", user, password);
        std::string told = prepared.result + read_file(meta_file());
        for (const answer_t& answer :
             {prepared, module.finish(prepared.result, user, password),
              module.backup_logs(home, "ORCL", "", "", user, password), module.enum_logs(),
              module.delete_logs_by_time(home, "ORCL", 0, user, password),
              module.delete_logs_by_size(home, "ORCL", 0, user, password)}) {
            told += answer.result + answer.error;
        }
        EXPECT_EQ(told.find(distinctive_password), std::string::npos);
    }
    EXPECT_EQ(sandbox::query_sql(folder, "ORCL",
                                 "SELECT COUNT(*) <= 1 FROM V$ARCHIVED_LOG WHERE STATUS = 'A'"),
              "1")
        << "the first of them was let in";
    EXPECT_EQ(read_file(folder / "oracle/journal.log").find(distinctive_password),
              std::string::npos);
}

}  // namespace
}  // namespace road
