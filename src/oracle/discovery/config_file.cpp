#include "oracle/discovery/config_file.h"

#include "support/logging/logger.h"
#include "support/logging/scope.h"
#include "support/text/convert.h"
#include "support/text/format.h"
#include "support/win/path.h"

namespace specific::oracle {

using logging::g_oralib_log;

std::wstring DatabaseFolder(const SOracleSid& sidRecord) {
    return win::join_path(sidRecord.isReadOnly ? sidRecord.baseHome : sidRecord.home, L"database");
}

std::wstring FindConfigFile(const SOracleSid& sidRecord) {
    logging::log_scope_t scope(g_oralib_log, "Gathering config file path");
    const std::wstring folder = DatabaseFolder(sidRecord);
    for (const wchar_t* pattern : {L"spfile%1.ora", L"init%1.ora"}) {
        const std::wstring path =
            win::join_path(folder, util::format_message(pattern, sidRecord.sid));
        if (win::path_exists(path)) {
            g_oralib_log.line("Found config file: [%1]", util::to_ansi_safe(path));
            scope.ok();
            return path;
        }
    }
    g_oralib_log.line("Config file path not found");
    scope.ok();
    return std::wstring();
}

}  // namespace specific::oracle
