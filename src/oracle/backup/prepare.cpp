#include "oracle/backup/prepare.h"

#include <exception>
#include <vector>

#include <boost/make_shared.hpp>
#include <boost/range/algorithm_ext/erase.hpp>

#include "config/agent_config.h"
#include "config/explore_config.h"
#include "oracle/backup/dbs_backup_xml.h"
#include "oracle/connect/dates.h"
#include "oracle/connect/session_holder.h"
#include "oracle/connect/status.h"
#include "oracle/discovery/db_queries.h"
#include "oracle/discovery/homes.h"
#include "oracle/logs/logs_gathering.h"
#include "support/exc/rethrow.h"
#include "support/logging/scope.h"
#include "support/text/convert.h"

namespace specific::oracle {

using logging::g_oralib_log;
using logging::log_scope_t;

namespace {

using info_t = CDbsBackupXml::SDbPrepareInfo;

// Our own temporary instances.
constexpr const wchar_t* own_prefix = L"TarnyTmp";

EBackupAction left_alone(bool archive_log) {
    return archive_log ? action_oracle_no_action : action_oracle_skip_vss;
}

void SwitchToBackupState(const session_ptr_t& session) {
    log_scope_t scope(g_oralib_log, "Switching database to backup state");
    const auto query = session->query();
    const auto result = query->exec("SELECT STATUS FROM V$BACKUP", 1, true);
    row_t row;
    bool is_active = false;
    while (!is_active && result->next(row)) {
        is_active = row.size() == 1 && row[0] == L"ACTIVE";
    }
    if (is_active) {
        g_oralib_log.warning("Database already in backup state");
    } else {
        query->exec_row("ALTER DATABASE BEGIN BACKUP", 0, true);
    }
    scope.ok();
}

void GatherPluggedDbs(const session_ptr_t& session, std::vector<CDbsBackupXml::SPluggedDb>& pdbs) {
    try {
        if (!IsContainerDb(session)) {
            return;
        }
        const auto result = session->query()->exec("SELECT NAME, OPEN_MODE FROM V$PDBS", 2, true);
        row_t row;
        while (result->next(row)) {
            if (row.size() == 2 &&
                (row[1] == L"READ ONLY" || row[1] == L"READ WRITE" || row[1] == L"MIGRATE")) {
                pdbs.push_back({row[0], row[1]});
            }
        }
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Failed to gather plugged dbs info", e);
    }
}

// From the moment in which backup mode stands, a failure no longer changes the action: finish must
// end it.
void back_up_hot(info_t& record, const log_position_t& dbRecId,
                 const boost::shared_ptr<COracleSessionHolder>& holder,
                 const session_ptr_t& session) {
    SwitchToBackupState(session);
    record.action = action_backup;
    GatherArchivedLogs(record.logs, dbRecId, holder);
    GetCheckpointInfo(session, record.scn, record.timeUtc);
    record.lastLogNum = GetLastSequence(holder);
    record.reverted = CheckDbReverted(dbRecId, holder);
    GetFirstNeededLogRecord(session, record.maxLogRecId, record.maxLogStamp);
}

// A database that tells no log mode, as while its control file is written, is no database without
// archive logging: only what has said so is shut down.
void prepare_open_db(info_t& record, const log_position_t& dbRecId,
                     const boost::shared_ptr<COracleSessionHolder>& holder,
                     const session_ptr_t& session) {
    const COracleAgentConfig& config = COracleAgentConfig::instance();
    bool read_only = false;
    bool archive_log = false;
    session->get_options(read_only, archive_log);
    GatherPluggedDbs(session, record.pdbs);
    if (config.DisableOracleProcessing()) {
        record.action = left_alone(archive_log);
    } else if (session->is_before_11() && !config.SupportOracle10()) {
        record.action = left_alone(archive_log);
    } else if (archive_log) {
        back_up_hot(record, dbRecId, holder, session);
    } else if (config.OracleSkipNoArchiveLogDB()) {
        record.action = action_oracle_skip_vss;
    } else {
        if (!session->had_options()) {
            throw exc::runtime_exc_t(std::string(
                "The database did not tell its log mode, so it was neither put into backup mode "
                "nor shut down."));
        }
        session->shutdown();
        record.action = action_shutdown;
    }
}

void PrepareDb(info_t& record, const SOracleSid& sid_record, const SOracleCredentials& credentials,
               const log_position_t& dbRecId) {
    const std::string sid = util::to_ansi_safe(record.sid);
    try {
        log_scope_t scope(g_oralib_log, "Prepare db for backup. Sid: %1", sid);
        if (const auto holder = create_session_holder(sid_record, credentials)) {
            const session_ptr_t session = holder->get_session();
            boost::shared_ptr<exc::exc_base_t> error_slot;
            if (is_instance_open(error_slot, session, sid_record.isAsm) &&
                is_db_active(error_slot, session)) {
                prepare_open_db(record, dbRecId, holder, session);
            } else {
                record.action = action_inactive;
            }
        }
        scope.ok();
    } catch (const std::exception& e) {
        record.errMsg = util::from_ansi_safe(e.what() ? e.what() : "");
        g_oralib_log.log_exception_thread("Failed to prepare db for backup. Sid: %1", sid, e);
    }
}

}  // namespace

std::wstring PrepareDbs(const std::wstring& configXml, const SOracleCredentials& credentials) {
    try {
        log_scope_t scope(g_oralib_log, "Preparing dbs for backup");
        const CExploreDbConfig config(configXml);
        std::vector<CExploreDbConfig::SExclusion> exclusions;
        config.get_excludes(exclusions);
        std::vector<SOracleSid> instances;
        COracleHomes(instances, exclusions);
        boost::remove_erase_if(instances, [](const SOracleSid& instance) {
            return instance.sid.rfind(own_prefix, 0) == 0 || instance.isAsm;
        });
        // A name that the document cannot hold fails the call before any database is changed.
        for (const SOracleSid& instance : instances) {
            util::to_ansi(instance.sid + instance.home);
        }
        CDbsBackupXml::infos_t infos;
        for (const SOracleSid& instance : instances) {
            const auto record = boost::make_shared<info_t>();
            record->sid = instance.sid;
            record->home = instance.home;
            record->timeUtc = current_time_text();
            PrepareDb(*record, instance, credentials, config.find_log_rec_info(instance.sid));
            record->autostart = instance.autostart;
            infos.push_back(record);
        }
        const std::wstring document = CDbsBackupXml::serialize(infos);
        scope.ok();
        return document;
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to prepare dbs for backup", e);
    }
}

}  // namespace specific::oracle
