#include "oracle/backup/db_restore.h"

#include <cstdint>
#include <exception>
#include <set>
#include <string>

#include <boost/make_shared.hpp>

#include "config/agent_config.h"
#include "oracle/connect/errors.h"
#include "oracle/connect/session_holder.h"
#include "oracle/connect/sql_text.h"
#include "oracle/connect/status.h"
#include "platform/platform.h"
#include "support/exc/rethrow.h"
#include "support/logging/scope.h"
#include "support/text/convert.h"
#include "support/text/format.h"

namespace specific::oracle {

using logging::g_oralib_log;
using logging::log_scope_t;
using util::to_ansi_safe;

namespace {

using holder_t = boost::shared_ptr<COracleSessionHolder>;

constexpr DWORD restore_attempt_ms = 15000;
constexpr int startup_attempts = 1;
constexpr DWORD startup_retry_ms = 10000;

bool begins_with(const std::wstring& status, const wchar_t* word) {
    return status.rfind(word, 0) == 0;
}

bool is_up(const holder_t& holder) {
    boost::shared_ptr<exc::exc_base_t> error_slot;
    return is_instance_open(error_slot, holder->get_session(), true);
}

std::wstring instance_status(const holder_t& holder) {
    boost::shared_ptr<exc::exc_base_t> error_slot;
    std::wstring status;
    get_status(error_slot, status, holder->get_session(), EStatusKind::instance);
    return status;
}

// What an instance answers while it is just coming up or going down: initialization or shutdown in
// progress, not available, immediate shutdown, the connection lost with it.
bool is_changing_state(std::uint32_t ora_number) {
    static const std::set<std::uint32_t> numbers = {1033, 1034, 1089, 1090, 3113, 3114, 27101};
    return numbers.count(ora_number) != 0;
}

// Without autostart it stays mounted, and opening it is left to whoever owns it.
bool EndBackupMounted(const holder_t& holder, bool autostart) {
    try {
        const auto query = holder->get_session()->query();
        query->exec_command("ALTER DATABASE END BACKUP");
        if (autostart) {
            query->exec_command("ALTER DATABASE OPEN");
            query->exec_command("ALTER SYSTEM ARCHIVE LOG CURRENT");
        }
        return true;
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Failed to end backup", e);
        return false;
    }
}

bool IsDbMounted(const SOracleSid& sid, const SOracleCredentials& credentials) {
    try {
        const holder_t holder = create_session_holder(sid, credentials);
        return holder && is_up(holder) && begins_with(instance_status(holder), L"MOUNTED");
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Failed to check if db is mounted", e);
        return false;
    }
}

void StartupNomount(const SOracleSid& sid, const SOracleCredentials& credentials) {
    boost::shared_ptr<exc::exc_base_t> failure;
    for (int attempt = 1; attempt <= startup_attempts; ++attempt) {
        try {
            boost::make_shared<COracleSessionHolder>(sid.sid, sid.home, credentials, true)
                ->get_session()
                ->startup();
            return;
        } catch (const std::exception& e) {
            failure = exc::capture_exception(e);
            g_oralib_log.log_exception(
                util::format_message("Unable to start database, attempt %1 of %2",
                                     util::to_string(attempt), util::to_string(startup_attempts)),
                e);
            Sleep(startup_retry_ms);
        }
    }
    failure->rethrow();
}

void StartupMount(const SOracleSid& sid, const SOracleCredentials& credentials) {
    log_scope_t scope(g_oralib_log, "Startup mount, sid: %1", to_ansi_safe(sid.sid));
    StartupNomount(sid, credentials);
    const auto holder =
        boost::make_shared<COracleSessionHolder>(sid.sid, sid.home, credentials, false);
    holder->get_session()->query()->exec_row("ALTER DATABASE MOUNT", 0, true);
    scope.ok();
}

void restore_plugged_db(const holder_t& holder, const CDbsBackupXml::SPluggedDb& pdb) {
    const std::string name = to_ansi_safe(pdb.name);
    try {
        log_scope_t scope(g_oralib_log, "Restoring plugged db: %1", name);
        const std::wstring openMode = pdb.mode == L"MIGRATE" ? L"UPGRADE" : pdb.mode;
        const auto query = holder->get_session()->query();
        const std::wstring current =
            query->exec_value(util::format_message("SELECT OPEN_MODE FROM V$PDBS WHERE NAME = '%1'",
                                                   sql_literal(util::to_ansi(pdb.name))),
                              true);
        if (current != pdb.mode) {
            if (openMode != L"READ ONLY" && openMode != L"READ WRITE" && openMode != L"UPGRADE") {
                throw exc::runtime_exc_t("Not a mode to open in: [%1].",
                                         util::to_ansi_safe(openMode));
            }
            query->exec_command(util::format_message("ALTER PLUGGABLE DATABASE \"%1\" OPEN %2",
                                                     sql_identifier(util::to_ansi(pdb.name)),
                                                     util::to_ansi(openMode)));
        }
        scope.ok();
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Failed to restore pdb: %1", name, e);
    }
}

void RestorePluggedDbs(const SOracleSid& sid, const SOracleCredentials& credentials,
                       const plugged_dbs_t& pdbs) {
    if (pdbs.empty()) {
        return;
    }
    log_scope_t scope(g_oralib_log, "Restoring plugged dbs");
    const holder_t holder = create_session_holder(sid, credentials);
    if (holder && is_up(holder)) {
        for (const CDbsBackupXml::SPluggedDb& pdb : pdbs) {
            restore_plugged_db(holder, pdb);
        }
    }
    scope.ok();
}

bool try_restore(const SOracleSid& sid, const SOracleCredentials& credentials) {
    const holder_t holder = create_session_holder(sid, credentials);
    if (!holder || !is_up(holder)) {
        return false;
    }
    std::wstring status;
    try {
        status = instance_status(holder);
    } catch (const COracleExc& e) {
        if (!is_changing_state(e.code())) {
            throw;
        }
    }
    if (begins_with(status, L"MOUNTED")) {
        return EndBackupMounted(holder, sid.autostart);
    }
    // "OPEN MIGRATE" too. An open database needs nothing.
    return begins_with(status, L"OPEN");
}

// For an instance that did not come up by itself.
void take_second_chance(const SOracleSid& sid, const SOracleCredentials& credentials) {
    {
        const holder_t holder = create_session_holder(sid, credentials);
        if (!holder || is_up(holder)) {
            return;
        }
    }
    if (!IsDbMounted(sid, credentials)) {
        StartupMount(sid, credentials);
    }
    if (const holder_t holder = create_session_holder(sid, credentials)) {
        EndBackupMounted(holder, sid.autostart);
    }
}

}  // namespace

void RestoreDb(const SOracleSid& sid, const SOracleCredentials& credentials,
               const plugged_dbs_t& pdbs) {
    const std::uint64_t attempts = COracleAgentConfig::instance().OracleWaitDbStartedAttemptCount();
    bool done = false;
    for (std::uint64_t attempt = 1; attempt <= attempts && !done; ++attempt) {
        done = try_restore(sid, credentials);
        if (!done) {
            g_oralib_log.warning(
                "Unable to perform db restore. Wait for db initialization, attempt %1 of %2",
                util::to_string(attempt), util::to_string(attempts));
            Sleep(restore_attempt_ms);
        }
    }
    if (!done) {
        take_second_chance(sid, credentials);
    }
    if (sid.autostart) {
        RestorePluggedDbs(sid, credentials, pdbs);
    }
}

void StartupDb(const SOracleSid& sid, const SOracleCredentials& credentials,
               const plugged_dbs_t& pdbs) {
    try {
        log_scope_t scope(g_oralib_log, "Starting up oracle db");
        auto holder =
            boost::make_shared<COracleSessionHolder>(sid.sid, sid.home, credentials, false);
        boost::shared_ptr<exc::exc_base_t> error_slot;
        if (is_instance_open(error_slot, holder->get_session(), false)) {
            g_oralib_log.line("No need to startup database: instance is open");
        } else {
            holder.reset();
            StartupNomount(sid, credentials);
            holder =
                boost::make_shared<COracleSessionHolder>(sid.sid, sid.home, credentials, false);
            holder->get_session()->mount_and_open();
            holder.reset();
        }
        RestorePluggedDbs(sid, credentials, pdbs);
        scope.ok();
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Failed to startup db: %1", to_ansi_safe(sid.sid), e);
    }
}

}  // namespace specific::oracle
