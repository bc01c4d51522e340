#include "oracle/backup/finish.h"

#include <exception>

#include "oracle/backup/db_restore.h"
#include "oracle/backup/dbs_backup_xml.h"
#include "oracle/connect/session_holder.h"
#include "oracle/connect/status.h"
#include "support/exc/rethrow.h"
#include "support/logging/scope.h"
#include "support/text/convert.h"
#include "support/text/format.h"

namespace specific::oracle {

using logging::g_oralib_log;
using logging::log_scope_t;

namespace {

using info_t = CDbsBackupXml::SDbPrepareInfo;

void EndBackup(const SOracleSid& sid, const SOracleCredentials& credentials) {
    const auto holder = create_session_holder(sid, credentials);
    if (!holder) {
        return;
    }
    const boost::shared_ptr<COracleSession> session = holder->get_session();
    boost::shared_ptr<exc::exc_base_t> error_slot;
    if (is_instance_open(error_slot, session, false) && is_db_active(error_slot, session)) {
        const auto query = session->query();
        query->exec_row("ALTER DATABASE END BACKUP", 0, true);
        query->exec_row("ALTER SYSTEM ARCHIVE LOG CURRENT", 0, true);
    }
}

// On the live machine a database that was shut down is started whatever its autostart says.
void finish_shutdown(SOracleSid sid, const SOracleCredentials& credentials, const info_t& info,
                     bool isRestore) {
    if (!isRestore || sid.autostart) {
        sid.autostart = true;
        StartupDb(sid, credentials, info.pdbs);
    }
}

void finish_by_action(const SOracleSid& sid, const SOracleCredentials& credentials,
                      const info_t& info, bool isRestore) {
    switch (info.action) {
        case action_failure:
            g_oralib_log.line("Database backup prepare finished with error");
            break;
        case action_inactive:
            g_oralib_log.line("Database is inactive. Nothing to do.");
            break;
        case action_backup:
            if (isRestore) {
                RestoreDb(sid, credentials, info.pdbs);
            } else {
                EndBackup(sid, credentials);
            }
            break;
        case action_shutdown:
            finish_shutdown(sid, credentials, info, isRestore);
            break;
        case action_vss:
            if (isRestore) {
                RestoreDb(sid, credentials, info.pdbs);
            } else {
                g_oralib_log.line("Database backup performed by VSS. Nothing to do.");
            }
            break;
        case action_oracle_skip_vss:
        case action_oracle_no_action:
            g_oralib_log.line("Oracle version is not supported. Nothing to do.");
            break;
        default:
            throw exc::runtime_exc_t("Unexpected backup action: %1", util::to_string(info.action));
    }
}

void FinishDb(const info_t& info, const SOracleCredentials& credentials, bool isRestore) {
    const std::string name = util::to_ansi_safe(info.sid);
    try {
        log_scope_t scope(g_oralib_log, "Finish db backup. Sid: %1, action: %2, autostart: %3",
                          name, to_word(info.action), util::to_string(info.autostart));
        SOracleSid sid;
        sid.sid = info.sid;
        sid.home = info.home;
        sid.autostart = info.autostart;
        finish_by_action(sid, credentials, info, isRestore);
        scope.ok();
    } catch (const std::exception& e) {
        g_oralib_log.log_exception_thread("Failed to finish db backup. Sid: %1", name, e);
    }
}

}  // namespace

void FinishDbs(const std::wstring& prepareXml, const SOracleCredentials& credentials,
               bool isRestore) {
    try {
        log_scope_t scope(g_oralib_log, "Finish dbs backup");
        for (const auto& info : CDbsBackupXml::parse(prepareXml)) {
            FinishDb(*info, credentials, isRestore);
        }
        scope.ok();
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to finish dbs backup", e);
    }
}

}  // namespace specific::oracle
