// What preparing a backup takes from the catalogue of archived logs.
#pragma once

#include <string>

#include <boost/shared_ptr.hpp>

#include "config/explore_config.h"
#include "oracle/connect/session_holder.h"
#include "oracle/logs/arch_log_info.h"

namespace specific::oracle {

using log_position_t = boost::shared_ptr<CExploreDbConfig::SDbLogRecInfo>;

/// Archives what is redo until now, then appends the logs that the host may need beside the image:
/// those that are there and, unless the settings say otherwise, on no network resource. `dbRecId`
/// bounds them by the host's first pass; it may be null. Throws.
void GatherArchivedLogs(arch_logs_t& logs, const log_position_t& dbRecId,
                        const boost::shared_ptr<COracleSessionHolder>& holder);

/// The last archived sequence number, minus one, in decimal; "0" where there is none. Throws.
std::wstring GetLastSequence(const boost::shared_ptr<COracleSessionHolder>& holder);

/// Whether the catalogue no longer has the record that the host names. Never throws.
bool CheckDbReverted(const log_position_t& dbRecId,
                     const boost::shared_ptr<COracleSessionHolder>& holder);

}  // namespace specific::oracle
