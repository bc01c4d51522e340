// What a restored image's databases are brought to.
#include <algorithm>

#include "road/road.h"

namespace road {
namespace {

using sandbox::state_t;
using strings_t = std::vector<std::string>;

class Restore : public Road {
  protected:
    Restore() {
        server.add_home(home19());
        set("OracleRestoreWaitInSec", 0u);
        set("OracleWaitDbStartedAttemptCount", 1u);
    }

    // Statements and calls that change something.
    strings_t changes() const {
        strings_t done;
        for (const auto& record : sandbox::read_journal(folder)) {
            if (record.entry == "OCIDBStartup" ||
                (record.entry == "OCIStmtExecute" && record.detail.rfind("ALTER", 0) == 0 &&
                 record.detail.find("PDB$SEED") == std::string::npos)) {
                done.push_back(record.detail.empty() ? record.entry : record.detail);
            }
        }
        return done;
    }
    std::filesystem::path meta_file() const {
        return machine.find("C:\\ProgramData\\Tarny\\Backup\\OracleLogBackup\\OracleMeta.xml");
    }
};

TEST_F(Restore, AutostartAndTheInstanceDecide) {
    const std::string end = "ALTER DATABASE END BACKUP";
    const std::string mount = "ALTER DATABASE MOUNT";
    const std::string open = "ALTER DATABASE OPEN";
    const std::string archive = "ALTER SYSTEM ARCHIVE LOG CURRENT";
    const std::string pdb = "ALTER PLUGGABLE DATABASE \"SALES\" OPEN UPGRADE";
    const strings_t all = {end, open, archive, pdb};
    const char* const option = "ORA_ORCL_AUTOSTART";
    const auto up = state_t::open, half = state_t::mounted, down = state_t::down;
    const struct {
        const char* value;  // of the home, "FALSE"; null for none
        bool counts;
        unsigned attempts;
        state_t found;
        strings_t done;
        state_t left;
    } rows[] = {
        {option, true, 1, half, {end}, half},
        {option, false, 1, half, all, up},
        {"MY_ORA_ORCL_AUTOSTART", true, 1, half, all, up},
        {"ORA_ORCL_AUTOSTART_OLD", true, 1, half, all, up},
        {nullptr, true, 1, up, {pdb}, up},
        // Without an attempt the second chance comes at once, for one that is down.
        {nullptr, true, 0, down, {"OCIDBStartup", mount, end, open, archive, pdb}, up},
        {option, true, 0, down, {"OCIDBStartup", mount, end}, half},
        {nullptr, true, 0, half, {pdb}, half},
        {nullptr, true, 1, half, all, up},
    };
    expect_in_log("Failed to archive logs all");
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        machine.reset();
        server = sandbox::server_t(folder);
        server.add_home(home19());
        set("OracleRestoreWaitInSec", 0u);
        set("OracleWaitDbStartedAttemptCount", row.attempts);
        set("UseOracleAutostartOption", row.counts);
        sandbox::instance_t made = instance("ORCL");
        made.pdbs.resize(1);
        made.pdbs[0].name = "SALES";
        made.pdbs[0].open_mode = "MIGRATE";
        server.add_instance(home19(), made);
        if (row.value) {
            server.set_registry("SOFTWARE\\ORACLE\\KEY_OraDB19Home1", row.value,
                                std::string("FALSE"));
        }
        write();
        module_t module;
        ASSERT_EQ(module.init(log_name).code, ORALIB_OK);
        ASSERT_EQ(module.prepare().code, ORALIB_OK);
        sandbox::run_sql(folder, "ORCL", "UPDATE sandbox_pdb SET saved_mode = 'MOUNTED'");
        sandbox::boot(folder);
        sandbox::set_state(folder, "ORCL", row.found);
        sandbox::clear_journal(folder);
        ASSERT_EQ(module.restore().code, ORALIB_OK);
        EXPECT_EQ(changes(), row.done);
        EXPECT_EQ(sandbox::get_state(folder, "ORCL"), row.left);
    }
}

// Whoever asks for the restore is nobody to the database.
TEST_F(Restore, TheAccountOfTheMetaFileDoesIt) {
    if (!machine_t::is_layered()) {
        GTEST_SKIP() << "the accounts are the machine's own";
    }
    expect_in_log("Failed to archive logs all");
    server.add_instance(home19(), instance("ORCL"));
    server.set_account({"LAB\\keeper", "secret", "ORA_DBA", ""});
    server.set_account({"LAB\\guest", "", "", ""});
    write();
    module_t module;
    ASSERT_EQ(module.init(log_name).code, ORALIB_OK);
    ASSERT_EQ(module.prepare().code, ORALIB_OK);
    std::string meta = read_file(meta_file());
    // LAB\keeper with the password secret
    meta.insert(meta.find(" dbPrepareXml"),
                " os_conn=\"PHJvb3QgdT0iVEVGQ1hHdGxaWEJsY2c9PSIgcD0iWXpKV2FtTnRWakE9Ii8+\"");
    write_file(meta_file(), meta);
    sandbox::boot(folder);
    server.set_process_account("LAB\\guest");
    write();
    ASSERT_EQ(module.restore().code, ORALIB_OK);
    EXPECT_EQ(sandbox::get_state(folder, "ORCL"), state_t::open);
    EXPECT_TRUE(std::filesystem::is_empty(folder / "run")) << "the thread is itself again";
}

}  // namespace
}  // namespace road
