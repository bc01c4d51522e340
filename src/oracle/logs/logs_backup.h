// Makes the archived logs of one database available as files.
#pragma once

#include <string>

#include <boost/shared_ptr.hpp>

#include "oracle/connect/session_holder.h"
#include "oracle/logs/arch_log_info.h"

namespace specific::oracle {

/// Lives for one operation, on one thread. Operations throw what ends them; a log that cannot be
/// copied is logged and left out.
class COracleLogsBackup {
  public:
    /// Asks for the database's id. Throws.
    explicit COracleLogsBackup(const boost::shared_ptr<COracleSessionHolder>& session_holder);

    /// Archives what is redo until now, copies the logs behind `lastRecId` (all, if empty) that
    /// have no file of their own into the folder, which is made, and describes each. `resultXml`
    /// becomes the list document; a database that is not open and active has an empty one.
    void BackupLogsToFolder(std::wstring& resultXml, const std::wstring& folder,
                            const std::wstring& usn, const std::wstring& lastRecId) const;

    /// Turns what was redo until now into archived logs.
    void FlushArchivedLogs() const;

  private:
    void ArchiveLogAll() const;
    void ArchiveLogCurrent() const;
    void GetLogsToCopy(arch_logs_t& logs, const std::wstring& lastRecId,
                       const std::wstring& usn) const;
    void CopyLogs(const arch_logs_t& logs, const std::wstring& folder) const;
    bool CopyArchivedLog(const std::wstring& name, const std::wstring& target) const;

    boost::shared_ptr<COracleSessionHolder> holder;
    std::wstring dbId;
};

}  // namespace specific::oracle
