#include "oracle/logs/logs_gathering.h"

#include <cstdint>
#include <exception>

#include <boost/make_shared.hpp>

#include "config/agent_config.h"
#include "oracle/connect/dates.h"
#include "oracle/connect/server_files.h"
#include "oracle/connect/sql_text.h"
#include "oracle/discovery/db_queries.h"
#include "oracle/logs/logs_backup.h"
#include "platform/platform.h"
#include "support/exc/rethrow.h"
#include "support/logging/scope.h"
#include "support/text/convert.h"
#include "support/text/format.h"
#include "support/text/number.h"
#include "support/win/path.h"

namespace specific::oracle {

using logging::g_oralib_log;
using logging::log_scope_t;

namespace {

// A first pass may have begun with logs that were catalogued just before it.
constexpr std::uint64_t rec_id_margin = 31;

std::string statement(const log_position_t& dbRecId) {
    std::string sql = util::format_message(
        "SELECT NAME, FIRST_CHANGE#, NEXT_CHANGE#, BLOCKS*BLOCK_SIZE, \t\t\t\t\t\t\t\t\t%1, %2, "
        "SEQUENCE#, RESETLOGS_CHANGE# FROM V$ARCHIVED_LOG WHERE STATUS != 'D' AND CREATOR != "
        "'LGWR'",
        utc_text_expression("FIRST_TIME"), utc_text_expression("NEXT_TIME"));
    if (dbRecId && !dbRecId->firstPassRecId.empty()) {
        const std::uint64_t first = util::parse_uint64(dbRecId->firstPassRecId);
        sql += util::format_message(
            " AND RECID >= %1", util::to_string(first < rec_id_margin ? 0 : first - rec_id_margin));
    }
    return sql;
}

// A log that cannot be checked counts as present.
bool LogFileExists(const std::wstring& name,
                   const boost::shared_ptr<COracleSessionHolder>& holder) {
    try {
        if (is_asm_path(name)) {
            return !COracleAgentConfig::instance().CheckAsmLogFileExistence() ||
                   asm_file_exists(*holder->get_session(), util::to_ansi(name));
        }
        return win::path_exists(name);
    } catch (const std::exception& e) {
        g_oralib_log.warning("Unable to check if log [%1] exists: %2", util::to_ansi_safe(name),
                             e.what() ? e.what() : "");
        return true;
    }
}

bool is_on_net_resource(const std::wstring& name) {
    if (PathIsUNCW(name.c_str())) {
        return true;
    }
    const UINT type = GetDriveTypeW(win::get_root_path(name).c_str());
    return type == DRIVE_REMOVABLE || type == DRIVE_REMOTE;
}

}  // namespace

void GatherArchivedLogs(arch_logs_t& logs, const log_position_t& dbRecId,
                        const boost::shared_ptr<COracleSessionHolder>& holder) {
    try {
        log_scope_t scope(g_oralib_log, "Gathering archived logs");
        COracleLogsBackup(holder).FlushArchivedLogs();
        const auto result = holder->get_session()->query()->exec(statement(dbRecId), 8, false);
        row_t row;
        while (result->next(row)) {
            if (row.size() != 8) {
                continue;
            }
            const auto log = boost::make_shared<SArchLogInfo>();
            log->name = row[0];
            log->firstChange = row[1];
            log->nextChange = row[2];
            log->size = row[3];
            log->firstTimeUtc = row[4];
            log->nextTimeUtc = row[5];
            log->seqNum = row[6];
            log->resetlogsChange = row[7];
            if (!LogFileExists(log->name, holder)) {
                continue;
            }
            if (COracleAgentConfig::instance().CheckIfLogOnNetResource() &&
                is_on_net_resource(log->name)) {
                g_oralib_log.line("Log is on net resource, skipping. File path: %1",
                                  util::to_ansi_safe(log->name));
                continue;
            }
            logs.push_back(log);
        }
        scope.ok();
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to gather archived logs", e);
    }
}

std::wstring GetLastSequence(const boost::shared_ptr<COracleSessionHolder>& holder) {
    try {
        const std::wstring last = GetLastLogSequence(holder->get_session());
        if (last.empty()) {
            g_oralib_log.line("Not found lastlog num");
            return L"0";
        }
        const std::uint64_t number = util::parse_uint64(last);
        return std::to_wstring(number == 0 ? 0 : number - 1);
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to get last sequence ", e);
    }
}

bool CheckDbReverted(const log_position_t& dbRecId,
                     const boost::shared_ptr<COracleSessionHolder>& holder) {
    if (!dbRecId || dbRecId->recId.empty() || dbRecId->stamp.empty()) {
        return false;
    }
    try {
        const std::string sql = util::format_message(
            "SELECT RECID FROM V$ARCHIVED_LOG WHERE RECID=%1 AND STAMP=%2",
            sql_number(util::to_ansi(dbRecId->recId)), sql_number(util::to_ansi(dbRecId->stamp)));
        return holder->get_session()->query()->exec_value(sql, true).empty();
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Failed to check if db was reverted", e);
        return false;
    }
}

}  // namespace specific::oracle
