#include "config/agent_config.h"

#include <exception>

#include "platform/platform.h"
#include "support/host/product_options.h"
#include "support/logging/logger.h"
#include "support/text/convert.h"
#include "support/text/format.h"
#include "support/win/path.h"
#include "support/win/registry.h"

namespace specific::oracle {

using logging::g_oralib_log;

namespace {

// A value that cannot be read must cost only itself, so each is read on its own.
void read_value(const win::win_reg_key_t& key, const char* name, std::uint32_t& value) {
    try {
        value = key.query_dword_or(name, value);
    } catch (const std::exception&) {
    }
}

void read_value(const win::win_reg_key_t& key, const char* name, bool& value) {
    try {
        value = key.query_bool_or(name, value);
    } catch (const std::exception&) {
    }
}

void read_value(const win::win_reg_key_t& key, const wchar_t* name, std::wstring& value) {
    try {
        value = key.query_wstring_or(name, value);
    } catch (const std::exception&) {
    }
}

}  // namespace

const COracleAgentConfig& COracleAgentConfig::instance() {
    static const COracleAgentConfig config;
    return config;
}

COracleAgentConfig::COracleAgentConfig() {
    init_temp_log_path();
    try {
        read_registry();
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Failed to init oracle config", e);
    }
}

void COracleAgentConfig::init_temp_log_path() {
    try {
        const std::wstring folder = win::get_common_appdata_folder();
        m_temp_log_path =
            win::join_path(win::join_path(folder, L"Tarny\\Backup"), L"OracleLogBackup");
        if (m_temp_log_path.back() != L'\\' && m_temp_log_path.back() != L'/') {
            m_temp_log_path += L'\\';
        }
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Failed to init base config", e);
    }
}

void COracleAgentConfig::read_registry() {
    const boost::shared_ptr<win::win_reg_key_t> key =
        win::open_hklm_subkey(util::SProductOptions::instance().registryPath, KEY_READ);
    if (!key) {
        return;
    }
    read_value(*key, "OracleConnectionTimeout", m_connection_timeout);
    read_value(*key, "OracleRestoreWaitInSec", m_restore_wait_in_sec);
    read_value(*key, "OracleAgentTtlSec", m_agent_ttl_sec);
    read_value(*key, "OracleWaitDbStartedAttemptCount", m_wait_db_started_attempt_count);
    read_value(*key, L"OracleTempLogPath", m_temp_log_path);
    read_value(*key, "CheckAsmLogFileExistence", m_check_asm_log_file_existence);
    read_value(*key, "SupportOracle10", m_support_oracle10);
    read_value(*key, "OracleStageLogsBeforeBackup", m_stage_logs_before_backup);
    read_value(*key, "DisableOracleProcessing", m_disable_oracle_processing);
    read_value(*key, "UseOracleAutostartOption", m_use_oracle_autostart_option);
    read_value(*key, "OracleSkipNoArchiveLogDB", m_skip_no_archive_log_db);
    read_value(*key, "CheckIfLogOnNetResource", m_check_if_log_on_net_resource);
}

void COracleAgentConfig::log_config() const {
    const auto& log = g_oralib_log;
    log.line("Oracle agent config:");
    log.line("OracleConnectionTimeout: %1", util::to_string(m_connection_timeout));
    log.line("OracleRestoreWaitInSec: %1", util::to_string(m_restore_wait_in_sec));
    log.line("OracleAgentTtlSec: %1", util::to_string(m_agent_ttl_sec));
    log.line("OracleWaitDbStartedAttemptCount: %1",
             util::to_string(m_wait_db_started_attempt_count));
    log.line("CheckAsmLogFileExistence: %1", util::to_string(m_check_asm_log_file_existence));
    log.line("SupportOracle10: %1", util::to_string(m_support_oracle10));
    log.line("OracleStageLogsBeforeBackup: %1", util::to_string(m_stage_logs_before_backup));
    log.line("DisableOracleProcessing: %1", util::to_string(m_disable_oracle_processing));
    log.line("UseOracleAutostartOption: %1", util::to_string(m_use_oracle_autostart_option));
    log.line("OracleSkipNoArchiveLogDB: %1", util::to_string(m_skip_no_archive_log_db));
    log.line("OracleTempLogPath: %1", util::to_ansi_safe(m_temp_log_path));
    log.line("=======================");
}

}  // namespace specific::oracle
