// The map from the exports to the library's logic.
#pragma once

#include <cstdint>
#include <string>

#include "config/credentials.h"

namespace specific::oracle {

/// One operation for each export. Each throws an exception that carries the operation's own line;
/// no state is kept between two of them, so they may run on several threads.
class COracleManager {
  public:
    static COracleManager& instance();

    COracleManager(const COracleManager&) = delete;
    COracleManager& operator=(const COracleManager&) = delete;

    void ExploreInstances(std::wstring& result, bool collectPfile,
                          const SOracleCredentials& credentials, const std::wstring& configXml);
    void DeleteLogsByTime(const std::wstring& oracleHome, const std::wstring& sid,
                          std::int32_t minutes, const SOracleCredentials& credentials);
    void DeleteLogsBySize(const std::wstring& oracleHome, const std::wstring& sid,
                          std::int64_t sizeLimit, const SOracleCredentials& credentials);
    void PrepareDbsForBackup(std::wstring& result, const std::wstring& configXml,
                             const SOracleCredentials& credentials, const std::wstring& osUserName,
                             const util::wide_secret_t& osPassword);
    void FinishDbsBackup(const std::wstring& prepareXml, const SOracleCredentials& credentials);
    void BackupLogs(std::wstring& result, const std::wstring& oracleHome, const std::wstring& sid,
                    const std::wstring& usn, const std::wstring& lastRecId,
                    const SOracleCredentials& credentials);
    void GetLogsFolder(std::wstring& folder);
    void EnumLogs(std::wstring& result);
    void RemoveLogsInTemp(const std::wstring& logs);
    bool IsRestoreRequired();
    void DoRestore();
    bool CheckIfAsmExist();
    /// Prints on standard output and waits for a key.
    void TestOracle();

  private:
    COracleManager() = default;
};

}  // namespace specific::oracle
