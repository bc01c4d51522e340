#include "oracle/logs/logs_deleter.h"

#include <algorithm>
#include <exception>
#include <utility>
#include <vector>

#include <boost/make_shared.hpp>

#include "oracle/connect/dates.h"
#include "oracle/connect/sql_text.h"
#include "oracle/logs/log_time.h"
#include "support/exc/rethrow.h"
#include "support/logging/scope.h"
#include "support/text/convert.h"
#include "support/text/format.h"
#include "support/text/number.h"

namespace specific::oracle {

using logging::g_oralib_log;
using logging::log_scope_t;
using util::to_ansi;
using util::to_ansi_safe;

namespace {

void sort_newest_first(arch_logs_t& logs) {
    std::vector<std::pair<std::uint64_t, boost::shared_ptr<SArchLogInfo>>> numbered;
    for (const auto& log : logs) {
        numbered.emplace_back(util::parse_uint64(log->seqNum), log);
    }
    std::sort(numbered.begin(), numbered.end(),
              [](const auto& a, const auto& b) { return a.first > b.first; });
    std::transform(numbered.begin(), numbered.end(), logs.begin(),
                   [](const auto& entry) { return entry.second; });
}

// The whole log must be older than the cutoff: its end decides.
bool has_ended_before(const SArchLogInfo& log, const std::wstring& cutoffText) {
    const log_time_t cutoff = ParseLogTime(cutoffText, true);
    const log_time_t first = ParseLogTime(log.firstTimeUtc, false);
    const log_time_t next = ParseLogTime(log.nextTimeUtc, false);
    return next.valid && first.valid && (is_later(next, first) || is_same_time(next, first)) &&
           cutoff.valid && is_later(cutoff, next);
}

}  // namespace

void COracleLogsDeleter::RemoveLogsByTime(const std::wstring& cutoffText) const {
    try {
        log_scope_t scope(g_oralib_log, "Removing archived logs older than: %1",
                          to_ansi_safe(cutoffText));
        for (const auto& log : GetActiveLogs()) {
            if (has_ended_before(*log, cutoffText)) {
                g_oralib_log.line("Removing log file. First UTC time: [%1], next UTC time: [%2]",
                                  to_ansi_safe(log->firstTimeUtc), to_ansi_safe(log->nextTimeUtc));
                RemoveLogFile(*log);
            }
        }
        scope.ok();
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to remove archived logs by time", e);
    }
}

void COracleLogsDeleter::RemoveLogsBySize(std::int64_t sizeLimit) const {
    try {
        log_scope_t scope(g_oralib_log, "Removing archived logs by size (%1)",
                          util::to_string(sizeLimit));
        std::uint64_t total = 0;
        for (const auto& log : GetActiveLogs()) {
            if (total > static_cast<std::uint64_t>(sizeLimit)) {
                RemoveLogFile(*log);
            } else {
                total += util::parse_uint64(log->size);
            }
        }
        scope.ok();
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to remove archived logs by size", e);
    }
}

arch_logs_t COracleLogsDeleter::GetActiveLogs() const {
    try {
        const auto result = session->query()->exec(
            util::format_message(
                "SELECT FIRST_CHANGE#, BLOCK_SIZE, RECID, STAMP, NAME, \t\t\tTHREAD#, SEQUENCE#, "
                "RESETLOGS_CHANGE#, BLOCKS*BLOCK_SIZE, \t\t\t%1, %2 FROM V$ARCHIVED_LOG WHERE "
                "STATUS != 'D' AND CREATOR != 'LGWR'",
                utc_text_expression("FIRST_TIME"), utc_text_expression("NEXT_TIME")),
            11, false);
        arch_logs_t logs;
        row_t row;
        while (result->next(row)) {
            if (row.size() != 11) {
                continue;
            }
            const auto log = boost::make_shared<SArchLogInfo>();
            log->firstChange = row[0];
            log->blockSize = row[1];
            log->recId = row[2];
            log->stamp = row[3];
            log->name = row[4];
            log->thread = row[5];
            log->seqNum = row[6];
            log->resetlogsChange = row[7];
            log->size = row[8];
            log->firstTimeUtc = row[9];
            log->nextTimeUtc = row[10];
            logs.push_back(log);
        }
        g_oralib_log.line("Found %1 active log files", util::to_string(logs.size()));
        sort_newest_first(logs);
        return logs;
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to get active archive logs", e);
    }
}

void COracleLogsDeleter::RemoveLogFile(const SArchLogInfo& log) const {
    try {
        log_scope_t scope(g_oralib_log, "Removing log file: %1", to_ansi_safe(log.name));
        const auto literal = [](const std::wstring& value) { return sql_literal(to_ansi(value)); };
        const std::string last_two =
            util::format_message("'%1', '%2'", literal(log.firstChange), literal(log.blockSize));
        const std::string text = util::format_message(
            "BEGIN\n DBMS_BACKUP_RESTORE.DELETEARCHIVEDLOG('%1', '%2', '%3', '%4', '%5', '%6', "
            "%7);\n END;",
            {literal(log.recId), literal(log.stamp), literal(log.name), literal(log.thread),
             literal(log.seqNum), literal(log.resetlogsChange), last_two});
        session->cmd_exec(text)->execute();
        scope.ok();
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Failed to remove log [%1]", to_ansi_safe(log.name), e);
    }
}

}  // namespace specific::oracle
