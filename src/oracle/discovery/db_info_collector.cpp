#include "oracle/discovery/db_info_collector.h"

#include <exception>

#include <boost/make_shared.hpp>

#include "oracle/discovery/config_file.h"
#include "oracle/discovery/db_queries.h"
#include "support/exc/rethrow.h"
#include "support/logging/logger.h"
#include "support/logging/scope.h"
#include "support/text/convert.h"
#include "support/text/format.h"

namespace specific::oracle {

using logging::g_oralib_log;
using logging::log_scope_t;

boost::shared_ptr<COracleProps> CDbInfoCollector::Collect() {
    try {
        log_scope_t scope(g_oralib_log, "Gathering database properties for SID: [%1]",
                          util::to_ansi_safe(sidRecord->sid));
        const auto props = boost::make_shared<CDatabaseProps>();
        const auto query = session()->query();
        props->name = query->exec_value("SELECT SYS_CONTEXT('USERENV','DB_NAME') FROM DUAL", false);
        props->sid = sidRecord->sid;
        session()->get_options(props->isReadonly, props->archiveLogsOn);
        props->config = FindConfigFile(*sidRecord);
        props->pwdFilePath = FindPasswordFile(session());
        GatherFiles(*props);
        GatherLogGroups(*props);
        GatherPdbs(*props);
        if (collectPfile) {
            CollectPfile(*props);
        }
        props->id = GetDbId(session());
        props->globalName = GetGlobalName();
        props->recoveryFileDest = query->exec_value("SELECT NAME FROM V$RECOVERY_FILE_DEST", false);
        props->hasGuaranteedRestorePoints = HasGuaranteedRestorePoints();
        props->isCluster = IsCluster();
        props->resetlogsChange =
            query->exec_value("SELECT RESETLOGS_CHANGE# FROM V$DATABASE", false);
        GatherListeners(*props);
        scope.ok();
        return props;
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to gather database properties.", e);
    }
}

void CDbInfoCollector::GatherFiles(CDatabaseProps& props) const {
    try {
        log_scope_t scope(g_oralib_log, "Gathering database files");
        props.logFiles = GatherFileList(
            "SELECT F.MEMBER, L.BYTES FROM V$LOG L, V$LOGFILE F WHERE L.GROUP# = F.GROUP#");
        props.dataFiles = GatherFileList("SELECT NAME, BYTES FROM V$DATAFILE");
        props.tempFiles = GatherFileList("SELECT NAME, BYTES FROM V$TEMPFILE");
        props.controlFiles =
            GatherFileList("SELECT NAME, BLOCK_SIZE*FILE_SIZE_BLKS FROM V$CONTROLFILE");
        scope.ok();
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to gather database properties.", e);
    }
}

props_list_t CDbInfoCollector::GatherFileList(const char* sql) const {
    props_list_t files;
    const auto result = session()->query()->exec(sql, 2, false);
    row_t row;
    while (result->next(row)) {
        if (row.size() == 2) {
            files.push_back(boost::make_shared<CDbFileProps>(row[0], row[1]));
        } else {
            g_oralib_log.warning("Failed to get file properties. Result is incorrect.");
        }
    }
    return files;
}

void CDbInfoCollector::GatherLogGroups(CDatabaseProps& props) const {
    try {
        log_scope_t scope(g_oralib_log, "Gathering log files groups");
        const auto result =
            session()->query()->exec("SELECT MEMBER, GROUP# FROM V$LOGFILE", 2, false);
        row_t row;
        while (result->next(row)) {
            if (row.size() == 2) {
                props.logGroups[row[0]] = util::to_ansi(row[1]);
            }
        }
        scope.ok();
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to gather log files groups", e);
    }
}

void CDbInfoCollector::GatherPdbs(CDatabaseProps& props) const {
    try {
        if (!IsContainerDb(session())) {
            return;
        }
        const auto result = session()->query()->exec("SELECT NAME, GUID FROM V$PDBS", 2, false);
        row_t row;
        while (result->next(row)) {
            if (row.size() == 2) {
                props.pdbs.emplace_back(row[0], row[1]);
            }
        }
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Unable to gather plugged databases", e);
    }
}

std::wstring CDbInfoCollector::GetGlobalName() const {
    const auto query = session()->query();
    const std::wstring name =
        query->exec_value("SELECT SYS_CONTEXT('USERENV','DB_UNIQUE_NAME') FROM DUAL", false);
    const std::wstring domain =
        query->exec_value("SELECT SYS_CONTEXT('USERENV','DB_DOMAIN') FROM DUAL", false);
    return domain.empty() ? name : util::format_message(L"%1.%2", name, domain);
}

bool CDbInfoCollector::HasGuaranteedRestorePoints() const {
    try {
        return session()->query()->exec_value(
                   "SELECT COUNT(*) FROM V$RESTORE_POINT WHERE GUARANTEE_FLASHBACK_DATABASE='YES'",
                   true) != L"0";
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Failed to check if database has guaranteed restore points", e);
        return false;
    }
}

bool CDbInfoCollector::IsCluster() const {
    try {
        return session()->query()->exec_value(
                   "SELECT VALUE FROM V$PARAMETER WHERE NAME='cluster_database'", true) == L"TRUE";
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Failed to check if database is cluster database", e);
        return false;
    }
}

void CDbInfoCollector::GatherListeners(CDatabaseProps& props) const {
    const auto result = session()->query()->exec(
        "SELECT NAME, VALUE FROM V$PARAMETER WHERE NAME LIKE '%_listener'", 2, false);
    row_t row;
    while (result->next(row)) {
        if (row.size() != 2) {
            continue;
        }
        if (row[0].rfind(L"local_", 0) == 0) {
            props.localListener = row[1];
        } else if (row[0].rfind(L"remote_", 0) == 0) {
            props.remoteListener = row[1];
        }
    }
}

}  // namespace specific::oracle
