// SCNs, log switches, archived logs and backup mode: what a database's redo goes through.
#pragma once

#include <string>

#include "sandbox/oci/statements.h"

namespace sandbox::oci {

/// Each throws ora_error_t by Oracle's rules.
void begin_backup(const execution_t& execution);
void end_backup(const execution_t& execution);

/// Ends the current log: a new archived file and a row of the catalogue. The checkpoint of the
/// files in backup mode stands still.
void switch_log(const execution_t& execution);

/// ORA-00271: whatever is full has been archived by itself.
void archive_all(const execution_t& execution);

void delete_archived_log(const execution_t& execution, const std::string& rec_id,
                         const std::string& stamp);

/// Throws `code` where a file is in backup mode; `file N` stands between the two texts.
void refuse_in_backup_mode(const execution_t& execution, int code, const std::string& before,
                           const std::string& behind);

}  // namespace sandbox::oci
