#include "frame/manager.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <vector>

#include "config/agent_config.h"
#include "config/explore_config.h"
#include "oracle/connect/session_holder.h"
#include "oracle/connect/status.h"
#include "oracle/discovery/homes.h"
#include "oracle/discovery/instance_explorer.h"
#include "platform/system.h"
#include "support/exc/exc.h"
#include "support/exc/rethrow.h"
#include "support/logging/logger.h"
#include "support/logging/scope.h"
#include "support/text/convert.h"

namespace specific::oracle {

using logging::g_oralib_log;
using logging::log_scope_t;

namespace {

[[noreturn]] void throw_not_available(const char* operation, const char* failure_line) {
    try {
        throw exc::runtime_exc_t("%1 is not available in this build", operation);
    } catch (const std::exception& e) {
        exc::rethrow_with_trace(failure_line, e);
    }
}

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
    if (!instance.isAsm) {
        print_archived_logs(*session);
    }
    std::printf("LOCAL: %d, ASM: %d\n", 0, 0);
    std::printf("ok\n");
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

void COracleManager::DeleteLogsByTime(const std::wstring&, const std::wstring&, std::int32_t,
                                      const SOracleCredentials&) {
    throw_not_available("Deleting archived logs by time",
                        "Oracle manager failed to delete archived logs by time");
}

void COracleManager::DeleteLogsBySize(const std::wstring&, const std::wstring&, std::int64_t,
                                      const SOracleCredentials&) {
    throw_not_available("Deleting archived logs by size",
                        "Oracle manager failed to delete archived logs by time");
}

void COracleManager::PrepareDbsForBackup(std::wstring&, const std::wstring&,
                                         const SOracleCredentials&, const std::wstring&,
                                         const std::wstring&) {
    throw_not_available("Preparing databases for backup",
                        "Oracle manager failed to prepare dbs for backup");
}

void COracleManager::FinishDbsBackup(const std::wstring&, const SOracleCredentials&) {
    throw_not_available("Finishing database backup", "Oracle manager failed to finish dbs backup");
}

void COracleManager::BackupLogs(std::wstring&, const std::wstring&, const std::wstring&,
                                const std::wstring&, const std::wstring&,
                                const SOracleCredentials&) {
    throw_not_available("Backing up archived logs",
                        "Oracle manager failed to backup archived logs");
}

void COracleManager::GetLogsFolder(std::wstring& folder) {
    try {
        folder = COracleAgentConfig::instance().OracleTempLogPath();
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Oracle manager failed to get oracle logs temp folder", e);
    }
}

void COracleManager::EnumLogs(std::wstring&) {
    throw_not_available("Listing staged logs", "Oracle manager failed to enum logs");
}

void COracleManager::RemoveLogsInTemp(const std::wstring&) {
    throw_not_available("Removing staged logs", "Oracle manager failed to remove logs in temp");
}

bool COracleManager::IsRestoreRequired() {
    throw_not_available("Checking for a restore",
                        "Oracle manager failed to check if restore required");
}

void COracleManager::DoRestore() {
    throw_not_available("Restoring databases", "Oracle manager failed to do db restore");
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
    }
    std::fflush(stdout);
    platform::run_system("pause");
}

}  // namespace specific::oracle
