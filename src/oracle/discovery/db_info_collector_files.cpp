// The collector's work on the parameter file and the password file.
#include <algorithm>
#include <exception>
#include <locale>
#include <vector>

#include <boost/algorithm/string/trim.hpp>

#include "oracle/connect/file_remover.h"
#include "oracle/connect/sql_text.h"
#include "oracle/discovery/config_file.h"
#include "oracle/discovery/db_info_collector.h"
#include "platform/system.h"
#include "support/exc/rethrow.h"
#include "support/logging/logger.h"
#include "support/logging/scope.h"
#include "support/text/base64.h"
#include "support/text/convert.h"
#include "support/text/format.h"
#include "support/win/file.h"
#include "support/win/path.h"

namespace specific::oracle {

using logging::g_oralib_log;
using logging::log_scope_t;

namespace {

std::wstring find_srvctl(const SOracleSid& sidRecord) {
    const std::wstring script = L"srvctl.bat";
    const std::wstring in_bin = win::join_path(win::join_path(sidRecord.home, L"bin"), script);
    if (win::path_exists(in_bin)) {
        return in_bin;
    }
    const std::wstring in_srvm =
        win::join_path(win::join_path(win::join_path(sidRecord.home, L"srvm"), L"bin"), script);
    return win::path_exists(in_srvm) ? in_srvm : std::wstring();
}

// The first line that names the password file, up to the first empty line. The value is taken from
// a fixed offset: it is right in a line that begins with the label.
std::wstring parse_password_file(const std::string& output) {
    static const std::string label = "Password file:";
    std::string::size_type begin = 0;
    while (begin < output.size()) {
        const std::string::size_type end = std::min(output.find('\n', begin), output.size());
        const std::string line = output.substr(begin, end - begin);
        begin = end + 1;
        if (line.empty()) {
            break;
        }
        g_oralib_log.line("%1", line);
        if (line.find(label) != std::string::npos) {
            return boost::trim_copy(util::from_ansi(line.substr(label.size())),
                                    std::locale::classic());
        }
    }
    return std::wstring();
}

}  // namespace

std::wstring MakeTempFilePath() {
    const std::wstring name = win::make_guid_text();
    std::wstring folder;
    try {
        folder = win::join_path(win::get_common_appdata_folder(), L"Tarny\\Backup\\Tmp\\");
    } catch (const exc::com_exc_t&) {
        return win::join_path(win::get_temp_folder(), name);
    }
    win::create_directories(folder);
    return win::join_path(folder, name);
}

void CDbInfoCollector::CollectPfile(CDatabaseProps& props) const {
    try {
        log_scope_t scope(g_oralib_log, "Getting pfile content");
        const std::wstring path = MakeTempFilePath();
        const std::string path_text = util::to_ansi(path);
        const std::string literal = sql_literal(path_text);
        const auto query = session()->query();
        bool written = true;
        try {
            query->exec_command(util::format_message("create pfile='%1' from spfile", literal));
        } catch (const std::exception& e) {
            g_oralib_log.log_exception("Unable to create pfile from spfile", e);
            written = false;
        }
        // The file belongs to the account of the database's service.
        const CFileRemover remover(path_text, session());
        if (!written || !win::path_exists(path)) {
            query->exec_command(util::format_message("create pfile='%1' from memory", literal));
        }
        const std::string content = win::win_file_t::open_read_only(path)->read_all();
        if (!content.empty()) {
            props.pfile = util::base64_encode(content.data(), content.size());
        }
        scope.ok();
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to get pfile content", e);
    }
}

std::wstring CDbInfoCollector::FindPasswordFile(
    const boost::shared_ptr<COracleSession>& session) const {
    try {
        log_scope_t scope(g_oralib_log, "Getting pwd file location");
        std::wstring path;
        if (session->is_12_or_later() && FindPasswordFileInAsm(path)) {
            g_oralib_log.line("Found pwd file (ASM location): %1", util::to_ansi_safe(path));
            scope.ok();
            return path;
        }
        path = win::join_path(DatabaseFolder(*sidRecord),
                              util::format_message(L"PWD%1.ora", sidRecord->sid));
        if (win::path_exists(path)) {
            g_oralib_log.line("Found pwd file: %1", util::to_ansi_safe(path));
        } else {
            path.clear();
        }
        scope.ok();
        return path;
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Failed to get password file location", e);
        return std::wstring();
    }
}

bool CDbInfoCollector::FindPasswordFileInAsm(std::wstring& path) const {
    try {
        const std::wstring script = find_srvctl(*sidRecord);
        if (script.empty()) {
            return false;
        }
        const std::wstring output_path = MakeTempFilePath();
        win::create_empty_file(output_path);
        const CFileRemover remover(util::to_ansi(output_path), {});
        const std::string command = util::to_ansi(util::format_message(
            L"%1 config database -db %2 > %3", script, sidRecord->sid, output_path));
        g_oralib_log.line("Executing script: %1", command);
        platform::run_system(command);
        path = parse_password_file(win::win_file_t::open_read_only(output_path)->read_all());
        return !path.empty();
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Failed to get password file ASM location", e);
        return false;
    }
}

}  // namespace specific::oracle
