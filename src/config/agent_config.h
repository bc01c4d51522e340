// The settings of the library: twelve registry values, read once for each load of the module.
#pragma once

#include <cstdint>
#include <string>

namespace specific::oracle {

/// Values under HKEY_LOCAL_MACHINE, key SProductOptions::registryPath. An absent, unreadable or
/// mistyped value leaves its default; reading never fails. Read-only after the first access, so
/// any thread may use it.
class COracleAgentConfig {
  public:
    /// The first call reads the registry.
    static const COracleAgentConfig& instance();

    COracleAgentConfig(const COracleAgentConfig&) = delete;
    COracleAgentConfig& operator=(const COracleAgentConfig&) = delete;

    /// Writes the settings to the log.
    void log_config() const;

    /// Seconds allowed for connecting and for a status probe; default 300. From 2^31 on it is a
    /// negative wait.
    std::int32_t OracleConnectionTimeout() const {
        return static_cast<std::int32_t>(m_connection_timeout);
    }
    /// Seconds slept before a restore begins; default 45.
    std::uint32_t OracleRestoreWaitInSec() const { return m_restore_wait_in_sec; }
    /// Seconds; only shown in the log; default 600.
    std::uint32_t OracleAgentTtlSec() const { return m_agent_ttl_sec; }
    /// Attempts to find a restored database started; default 30.
    std::uint32_t OracleWaitDbStartedAttemptCount() const {
        return m_wait_db_started_attempt_count;
    }
    /// Staging folder for logs and the meta file, as set, or under the common application data
    /// folder with a trailing separator.
    const std::wstring& OracleTempLogPath() const { return m_temp_log_path; }
    bool CheckAsmLogFileExistence() const { return m_check_asm_log_file_existence; }
    bool SupportOracle10() const { return m_support_oracle10; }
    bool UseOracleAutostartOption() const { return m_use_oracle_autostart_option; }
    bool DisableOracleProcessing() const { return m_disable_oracle_processing; }
    bool OracleStageLogsBeforeBackup() const { return m_stage_logs_before_backup; }
    bool OracleSkipNoArchiveLogDB() const { return m_skip_no_archive_log_db; }
    bool CheckIfLogOnNetResource() const { return m_check_if_log_on_net_resource; }

  private:
    COracleAgentConfig();

    void init_temp_log_path();
    void read_registry();

    std::uint32_t m_connection_timeout = 300;
    std::uint32_t m_restore_wait_in_sec = 45;
    std::uint32_t m_agent_ttl_sec = 600;
    std::uint32_t m_wait_db_started_attempt_count = 30;
    std::wstring m_temp_log_path;
    bool m_check_asm_log_file_existence = false;
    bool m_support_oracle10 = false;
    bool m_use_oracle_autostart_option = false;
    bool m_disable_oracle_processing = false;
    bool m_stage_logs_before_backup = false;
    bool m_skip_no_archive_log_db = false;
    bool m_check_if_log_on_net_resource = true;
};

}  // namespace specific::oracle
