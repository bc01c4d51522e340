// Brings one database back to a usable state.
#pragma once

#include <vector>

#include "config/credentials.h"
#include "oracle/backup/dbs_backup_xml.h"
#include "oracle/sid.h"

namespace specific::oracle {

using plugged_dbs_t = std::vector<CDbsBackupXml::SPluggedDb>;

/// After a restore: a database that the image caught in backup mode. Waits for its instance, which
/// may still be starting, 15 seconds an attempt, for OracleWaitDbStartedAttemptCount attempts; ends
/// backup mode, and opens it where the SID's autostart says so. Throws when the last chance, to
/// start and mount the instance, fails.
void RestoreDb(const SOracleSid& sid, const SOracleCredentials& credentials,
               const plugged_dbs_t& pdbs);

/// Starts and opens a database that was shut down, and its pluggable ones. Never throws.
void StartupDb(const SOracleSid& sid, const SOracleCredentials& credentials,
               const plugged_dbs_t& pdbs);

}  // namespace specific::oracle
