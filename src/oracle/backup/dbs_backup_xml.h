// The prepare document: what was done to each database before the snapshot.
// docs/formats/prepare.md has the format.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "oracle/logs/arch_log_info.h"

namespace specific::oracle {

/// The state that a database was left in; the numbers stand in the document.
enum EBackupAction : std::int32_t {
    action_failure = 0,           ///< failed before anything was changed
    action_inactive = 1,          ///< not open and active; nothing was done
    action_backup = 2,            ///< in backup mode
    action_shutdown = 3,          ///< shut down for a cold image
    action_vss = 4,               ///< its own writer takes care of it; never made here
    action_oracle_skip_vss = 5,   ///< nothing was done; no archive log mode
    action_oracle_no_action = 6,  ///< nothing was done; archive log mode
};

/// The action as the log has it; "unknown" for any other number.
const char* to_word(std::int32_t action);

class CDbsBackupXml {
  public:
    struct SPluggedDb {
        std::wstring name;
        std::wstring mode;  ///< V$PDBS.OPEN_MODE
    };

    /// What is remembered of one database.
    struct SDbPrepareInfo {
        std::wstring sid;
        std::wstring home;
        std::int32_t action = action_failure;
        std::vector<SPluggedDb> pdbs;  ///< those that were open
        std::wstring timeUtc;          ///< of the consistent point
        std::wstring scn;              ///< of the consistent point
        std::wstring errMsg;           ///< not read back from a document
        bool autostart = false;
        arch_logs_t logs;          ///< archived logs that the backup needs
        std::wstring lastLogNum;   ///< last archived sequence number before the backup, minus one
        std::wstring maxLogRecId;  ///< RECID of the log that holds the oldest fuzzy checkpoint
        std::wstring maxLogStamp;  ///< STAMP of that log
        bool reverted = false;     ///< since the backup before
    };
    using infos_t = std::vector<boost::shared_ptr<const SDbPrepareInfo>>;

    /// Throws for text that the code page cannot hold.
    static std::wstring serialize(const infos_t& infos);
    /// Throws for what is no such document, or lacks something of it.
    static infos_t parse(const std::wstring& document);
};

}  // namespace specific::oracle
