#include "frame/manager.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <exception>
#include <vector>

#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/make_shared.hpp>

#include "config/agent_config.h"
#include "config/explore_config.h"
#include "config/logon.h"
#include "config/protected_credentials.h"
#include "oracle/backup/backup_meta.h"
#include "oracle/backup/finish.h"
#include "oracle/backup/prepare.h"
#include "oracle/connect/session_holder.h"
#include "oracle/connect/status.h"
#include "oracle/discovery/homes.h"
#include "oracle/discovery/instance_explorer.h"
#include "oracle/logs/log_descriptions.h"
#include "oracle/logs/logs_backup.h"
#include "oracle/logs/logs_deleter.h"
#include "platform/system.h"
#include "support/exc/exc.h"
#include "support/exc/rethrow.h"
#include "support/logging/logger.h"
#include "support/logging/scope.h"
#include "support/text/convert.h"
#include "support/text/format.h"
#include "support/win/path.h"

namespace specific::oracle {

using logging::g_oralib_log;
using logging::log_scope_t;

namespace {

std::vector<SOracleSid> all_instances() {
    std::vector<SOracleSid> instances;
    COracleHomes(instances, {});
    return instances;
}

void print_archived_logs(const COracleSession& session) {
    bool read_only = false;
    bool archive_log = false;
    session.get_options(read_only, archive_log);
    std::printf("ARCHIVE LOGS: %s\n", archive_log ? "ON" : "OFF");

    const auto result =
        session.query()->exec("SELECT SEQUENCE#, NAME FROM V$ARCHIVED_LOG", 2, false);
    row_t row;
    while (result->next(row)) {
        if (!row.empty()) {
            std::printf("Log path: %s\n", util::to_ansi(row[0]).c_str());
        }
    }
}

void test_instance(const SOracleSid& instance) {
    const auto holder = create_session_holder(instance, SOracleCredentials());
    if (!holder) {
        return;
    }
    const boost::shared_ptr<COracleSession> session = holder->get_session();
    boost::shared_ptr<exc::exc_base_t> error_slot;
    if (!is_instance_open(error_slot, session, instance.isAsm)) {
        return;
    }
    std::printf("Checking SID: %s\n", util::to_ansi(holder->get_sid()).c_str());
    std::fflush(stdout);  // its queries may hang
    if (!instance.isAsm) {
        print_archived_logs(*session);
    }
    std::printf("LOCAL: %d, ASM: %d\n", 0, 0);
    std::printf("ok\n");
}

// A database that is not open or not active is left alone, which is no failure. The session goes
// first, the holder after the scope's last line.
template <typename Body>
void delete_logs(const char* scope_text, const std::wstring& oracleHome, const std::wstring& sid,
                 const SOracleCredentials& credentials, const Body& body) {
    boost::shared_ptr<COracleSessionHolder> holder;
    log_scope_t scope(g_oralib_log, scope_text, util::to_ansi_safe(sid));
    holder = boost::make_shared<COracleSessionHolder>(sid, oracleHome, credentials, false);
    {
        const boost::shared_ptr<COracleSession> session = holder->get_session();
        boost::shared_ptr<exc::exc_base_t> error_slot;
        if (is_instance_open(error_slot, session, false) && is_db_active(error_slot, session)) {
            body(COracleLogsDeleter(session));
        }
    }
    scope.ok();
}

// What lies before all time that can be told begins with it.
std::string start_time_text(std::int32_t minutes) {
    const boost::posix_time::ptime first(boost::posix_time::min_date_time);
    const boost::posix_time::ptime now = boost::posix_time::second_clock::universal_time();
    const boost::posix_time::time_duration back = boost::posix_time::minutes(minutes);
    const boost::posix_time::ptime start = now - first < back ? first : now - back;
    const std::tm parts = boost::posix_time::to_tm(start);
    char text[256];
    std::strftime(text, sizeof text, "%d/%m/%Y %H:%M:%S", &parts);
    return text;
}

// The host's thread must not keep the account, whatever happens.
class impersonation_t {
  public:
    explicit impersonation_t(HANDLE token) { impersonate_user(token); }
    ~impersonation_t() {
        if (!RevertToSelf()) {
            g_oralib_log.log_exception_thread(
                "The thread keeps the account that the restore ran under",
                exc::win_sys_exc_t(GetLastError()));
        }
    }
    impersonation_t(const impersonation_t&) = delete;
    impersonation_t& operator=(const impersonation_t&) = delete;
};

// The file goes before anything is tried: a restore is tried once.
void restore_by_meta(const std::wstring& path) {
    std::wstring document;
    SOracleCredentials credentials;
    std::wstring os_user_name;
    std::wstring os_password;
    ReadBackupMeta(path, document, credentials, os_user_name, os_password);
    RemoveBackupMeta(path);
    if (os_user_name.empty()) {
        FinishDbs(document, credentials, true);
        return;
    }
    CAccessToken token;
    logon_user(os_user_name, os_password, token);
    const impersonation_t impersonation(token.token);
    FinishDbs(document, credentials, true);
}

// The databases are changed by now: the host must get the document, whatever becomes of the file.
bool find_backup_meta_path(std::wstring& path) {
    try {
        path = GetBackupMetaPath();
        return true;
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Failed to save oracle backup meta", e);
        return false;
    }
}

}  // namespace

COracleManager& COracleManager::instance() {
    static COracleManager manager;
    return manager;
}

void COracleManager::ExploreInstances(std::wstring& result, bool collectPfile,
                                      const SOracleCredentials& credentials,
                                      const std::wstring& configXml) {
    try {
        log_scope_t scope(g_oralib_log, "Exploring oracle instances");
        CInstanceExplorer(collectPfile, credentials, CExploreDbConfig(configXml)).Explore(result);
        scope.ok();
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Oracle manager failed to explore Oracle instances", e);
    }
}

void COracleManager::DeleteLogsByTime(const std::wstring& oracleHome, const std::wstring& sid,
                                      std::int32_t minutes, const SOracleCredentials& credentials) {
    try {
        delete_logs("Deleting oracle logs by time. Sid: %1", oracleHome, sid, credentials,
                    [minutes](const COracleLogsDeleter& deleter) {
                        const std::string start = start_time_text(minutes);
                        g_oralib_log.line("UTC start time: %1", start);
                        deleter.RemoveLogsByTime(util::from_ansi(start));
                    });
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Oracle manager failed to delete archived logs by time", e);
    }
}

void COracleManager::DeleteLogsBySize(const std::wstring& oracleHome, const std::wstring& sid,
                                      std::int64_t sizeLimit,
                                      const SOracleCredentials& credentials) {
    try {
        delete_logs("Deleting oracle logs by size. Sid: %1", oracleHome, sid, credentials,
                    [sizeLimit](const COracleLogsDeleter& deleter) {
                        deleter.RemoveLogsBySize(sizeLimit);
                    });
    } catch (const std::exception& e) {
        // The words of its sibling, which operators know.
        exc::rethrow_with_trace("Oracle manager failed to delete archived logs by time", e);
    }
}

void COracleManager::PrepareDbsForBackup(std::wstring& result, const std::wstring& configXml,
                                         const SOracleCredentials& credentials,
                                         const std::wstring& osUserName,
                                         const util::wide_secret_t& osPassword) {
    try {
        result = PrepareDbs(configXml, credentials);
        std::wstring path;
        if (find_backup_meta_path(path)) {
            SaveBackupMeta(path, result, credentials, osUserName, osPassword);
        }
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Oracle manager failed to prepare dbs for backup", e);
    }
}

void COracleManager::FinishDbsBackup(const std::wstring& prepareXml,
                                     const SOracleCredentials& credentials) {
    try {
        FinishDbs(prepareXml, credentials, false);
        RemoveBackupMeta(GetBackupMetaPath());
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Oracle manager failed to finish dbs backup", e);
    }
}

void COracleManager::BackupLogs(std::wstring& result, const std::wstring& oracleHome,
                                const std::wstring& sid, const std::wstring& usn,
                                const std::wstring& lastRecId,
                                const SOracleCredentials& credentials) {
    try {
        boost::shared_ptr<COracleSessionHolder> holder;
        log_scope_t scope(g_oralib_log, "Backup oracle logs. Sid: %1", util::to_ansi_safe(sid));
        holder = boost::make_shared<COracleSessionHolder>(sid, oracleHome, credentials, false);
        const COracleLogsBackup saver(holder);
        std::wstring folder;
        GetLogsFolder(folder);
        saver.BackupLogsToFolder(result, folder, usn, lastRecId);
        scope.ok();
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Oracle manager failed to backup archived logs", e);
    }
}

void COracleManager::GetLogsFolder(std::wstring& folder) {
    try {
        folder = COracleAgentConfig::instance().OracleTempLogPath();
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Oracle manager failed to get oracle logs temp folder", e);
    }
}

void COracleManager::EnumLogs(std::wstring& result) {
    try {
        log_scope_t scope(g_oralib_log, "Enumerating oracle logs");
        std::wstring folder;
        GetLogsFolder(folder);
        result = EnumLogDescriptions(folder);
        scope.ok();
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Oracle manager failed to enum logs", e);
    }
}

void COracleManager::RemoveLogsInTemp(const std::wstring& logs) {
    try {
        log_scope_t scope(g_oralib_log, "Removing oracle logs in temp: %1",
                          hide_protected(util::to_ansi_safe(logs)));
        std::wstring folder;
        GetLogsFolder(folder);
        RemoveLogs(logs);
        scope.ok();
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Oracle manager failed to remove logs in temp", e);
    }
}

bool COracleManager::IsRestoreRequired() {
    try {
        const bool required = win::path_exists(GetBackupMetaPath());
        g_oralib_log.line("Oracle restore is required: %1", util::to_string(required));
        return required;
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Oracle manager failed to check if restore required", e);
    }
}

void COracleManager::DoRestore() {
    try {
        log_scope_t scope(g_oralib_log, "Performing oracle db restore");
        const std::uint32_t wait = COracleAgentConfig::instance().OracleRestoreWaitInSec();
        g_oralib_log.line("Waiting for %1 sec", util::to_string(wait));
        constexpr std::uint64_t longest = INFINITE - 1;
        Sleep(static_cast<DWORD>(std::min(std::uint64_t{wait} * 1000, longest)));
        restore_by_meta(GetBackupMetaPath());
        scope.ok();
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Oracle manager failed to do db restore", e);
    }
}

bool COracleManager::CheckIfAsmExist() {
    try {
        log_scope_t scope(g_oralib_log, "Checking if oracle ASM exist");
        const std::vector<SOracleSid> instances = all_instances();
        const bool exists = std::any_of(instances.begin(), instances.end(),
                                        [](const SOracleSid& sid) { return sid.isAsm; });
        scope.ok();
        return exists;
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Oracle manager failed to check if any ASM exist", e);
    }
}

void COracleManager::TestOracle() {
    for (const SOracleSid& instance : all_instances()) {
        test_instance(instance);
        std::fflush(stdout);  // the next one may hang
    }
    // Nobody can press a key in session 0, where services run.
    DWORD session = 0;
    const bool is_watched = !ProcessIdToSessionId(GetCurrentProcessId(), &session) || session != 0;
    platform::run_system(is_watched ? "pause" : "pause <nul");
}

}  // namespace specific::oracle
