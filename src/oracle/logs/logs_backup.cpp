#include "oracle/logs/logs_backup.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <vector>

#include <boost/make_shared.hpp>

#include "config/agent_config.h"
#include "oracle/connect/dates.h"
#include "oracle/connect/server_files.h"
#include "oracle/connect/sql_text.h"
#include "oracle/connect/status.h"
#include "oracle/discovery/db_queries.h"
#include "oracle/logs/log_descriptions.h"
#include "platform/platform.h"
#include "support/exc/rethrow.h"
#include "support/logging/scope.h"
#include "support/text/convert.h"
#include "support/text/format.h"
#include "support/win/file.h"
#include "support/win/path.h"

namespace specific::oracle {

using logging::g_oralib_log;
using logging::log_scope_t;
using util::to_ansi_safe;

namespace {

// Logs are large: one buffer, whatever their size.
constexpr std::size_t piece_size = 0x80000;

void copy_pieces(win::win_file_t& source, win::win_file_t& target) {
    std::vector<char> buffer(piece_size);
    for (std::uint64_t left = source.size(); left > 0;) {
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(left, piece_size));
        const std::size_t read = source.read(buffer.data(), wanted);
        if (read < wanted) {
            throw exc::runtime_exc_t(
                "Only %1 bytes were read from the file [%2] (requested %3 bytes)",
                util::to_string(read), to_ansi_safe(source.path()), util::to_string(wanted));
        }
        target.write(buffer.data(), wanted);
        left -= wanted;
    }
}

// Half a copy goes: nothing would describe it, so nobody would ever remove it.
void copy_file(const std::wstring& name, const std::wstring& target) {
    const auto source = win::win_file_t::open_read_only(name);
    auto copy = win::win_file_t::create_or_open(target, CREATE_ALWAYS);
    try {
        copy_pieces(*source, *copy);
        copy->flush();  // a description must not outlive what it describes
    } catch (const std::exception&) {
        copy.reset();
        win::remove_leftover(target);
        throw;
    }
}

bool is_missing(const SArchLogInfo& log) {
    return !log.isLogCopied && !log.logPath.empty() && log.size.empty();
}

// The catalogue has logs whose file was taken away by other means.
void tell_missing(const arch_logs_t& logs) {
    const auto first =
        std::find_if(logs.begin(), logs.end(), [](const auto& log) { return is_missing(*log); });
    if (first != logs.end()) {
        const auto count =
            std::count_if(first, logs.end(), [](const auto& log) { return is_missing(*log); });
        g_oralib_log.line(
            "Logs of the catalogue that have no file and are left out: %1. First: [%2]",
            std::to_string(count), to_ansi_safe((*first)->name));
    }
}

// Only a log with a size is described; one that cannot be looked at costs itself.
void read_size(SArchLogInfo& log) {
    try {
        if (!log.logPath.empty() && win::path_exists(log.logPath)) {
            log.size = std::to_wstring(win::file_size(log.logPath));
        }
    } catch (const std::exception& e) {
        g_oralib_log.log_what(e);
    }
}

}  // namespace

COracleLogsBackup::COracleLogsBackup(const boost::shared_ptr<COracleSessionHolder>& session_holder)
    : holder(session_holder), dbId(GetDbId(holder->get_session())) {}

void COracleLogsBackup::BackupLogsToFolder(std::wstring& resultXml, const std::wstring& folder,
                                           const std::wstring& usn,
                                           const std::wstring& lastRecId) const {
    try {
        log_scope_t scope(g_oralib_log, "Backup logs to folder: %1, usn %2, last rec id: %3",
                          to_ansi_safe(folder), to_ansi_safe(usn), to_ansi_safe(lastRecId));
        win::create_directories(folder + L'\\');
        const std::wstring creation_time_utc = current_time_text();
        arch_logs_t logs;
        const boost::shared_ptr<COracleSession> session = holder->get_session();
        boost::shared_ptr<exc::exc_base_t> error_slot;
        if (is_instance_open(error_slot, session, false) && is_db_active(error_slot, session)) {
            ArchiveLogAll();
            ArchiveLogCurrent();
            GetLogsToCopy(logs, lastRecId, usn);
            CopyLogs(logs, folder);
        }
        resultXml = SaveLogDescriptions(logs, creation_time_utc);
        scope.ok();
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to backup logs to path: %1", to_ansi_safe(folder), e);
    }
}

void COracleLogsBackup::FlushArchivedLogs() const {
    try {
        log_scope_t scope(g_oralib_log, "Flushing archived logs");
        ArchiveLogCurrent();
        ArchiveLogAll();
        scope.ok();
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to flush archived logs", e);
    }
}

void COracleLogsBackup::ArchiveLogAll() const {
    try {
        holder->get_session()->query()->exec_command("ALTER SYSTEM ARCHIVE LOG ALL");
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Failed to archive logs all", e);
    }
}

void COracleLogsBackup::ArchiveLogCurrent() const {
    try {
        holder->get_session()->query()->exec_command("ALTER SYSTEM ARCHIVE LOG CURRENT");
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to archive logs current", e);
    }
}

void COracleLogsBackup::GetLogsToCopy(arch_logs_t& logs, const std::wstring& lastRecId,
                                      const std::wstring& usn) const {
    try {
        std::string sql = util::format_message(
            "SELECT FIRST_CHANGE#, %1, NEXT_CHANGE#, %2, NAME, SEQUENCE#, RECID, STAMP, "
            "RESETLOGS_CHANGE# FROM V$ARCHIVED_LOG WHERE CREATOR != 'LGWR'",
            utc_text_expression("FIRST_TIME"), utc_text_expression("NEXT_TIME"));
        if (!lastRecId.empty()) {
            sql += util::format_message(" AND RECID > %1", sql_number(util::to_ansi(lastRecId)));
        }
        const auto result = holder->get_session()->query()->exec(sql, 9, false);
        row_t row;
        while (result->next(row)) {
            if (row.size() != 9) {
                continue;
            }
            const auto log = boost::make_shared<SArchLogInfo>();
            log->firstChange = row[0];
            log->firstTimeUtc = row[1];
            log->nextChange = row[2];
            log->nextTimeUtc = row[3];
            log->name = row[4];
            log->seqNum = row[5];
            log->recId = row[6];
            log->stamp = row[7];
            log->resetlogsChange = row[8];
            log->dbId = dbId;
            log->creationUsn = usn;
            logs.push_back(log);
        }
        g_oralib_log.line("Found %1 log files with seq number above %2",
                          util::to_string(logs.size()), to_ansi_safe(lastRecId));
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to get logs to copy", e);
    }
}

// Names from Oracle never become names in the staging folder.
void COracleLogsBackup::CopyLogs(const arch_logs_t& logs, const std::wstring& folder) const {
    for (const auto& log : logs) {
        log->homePath = holder->get_home();
        log->sid = holder->get_sid();
        const std::wstring target = win::join_path(folder, win::make_guid_text());
        log->xmlLogPath = target + L".xml";
        if (is_asm_path(log->name) ||
            COracleAgentConfig::instance().OracleStageLogsBeforeBackup()) {
            log_scope_t scope(g_oralib_log, "Copying log file [%1]", to_ansi_safe(log->name));
            if (CopyArchivedLog(log->name, target)) {
                log->logPath = target;
                log->isLogCopied = true;
                scope.ok();
            }
        } else {
            log->logPath = log->name;
            log->isLogCopied = false;
        }
        read_size(*log);
    }
    tell_missing(logs);
}

bool COracleLogsBackup::CopyArchivedLog(const std::wstring& name,
                                        const std::wstring& target) const {
    try {
        if (is_asm_path(name)) {
            copy_asm_file(*holder->get_session(), util::to_ansi(name), util::to_ansi(target));
        } else {
            copy_file(name, target);
        }
        return true;
    } catch (const std::exception& e) {
        g_oralib_log.log_exception(
            util::format_message("Failed to copy archived log from [%1] to [%2]",
                                 to_ansi_safe(name), to_ansi_safe(target)),
            e);
        return false;
    }
}

}  // namespace specific::oracle
