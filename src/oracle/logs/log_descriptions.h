// What lies in the staging folder, told by an XML file beside each log, so that no database is
// needed to read it. docs/formats/archived-logs.md has the format.
#pragma once

#include <string>

#include "oracle/logs/arch_log_info.h"

namespace specific::oracle {

/// Writes the description of each log that has a size to its xmlLogPath. `creationTimeUtc` is the
/// same for all. Returns the list document. Throws where one cannot be written.
std::wstring SaveLogDescriptions(const arch_logs_t& logs, const std::wstring& creationTimeUtc);

/// The list document of all descriptions in the folder, which need not exist. Throws where a
/// description cannot be read; what it describes is not looked at.
std::wstring EnumLogDescriptions(const std::wstring& folder);

/// Deletes the staged copies that the list names, and their descriptions; a log that is no copy of
/// the library's stays. The first failure ends the walk and is thrown.
void RemoveLogs(const std::wstring& logs);

}  // namespace specific::oracle
