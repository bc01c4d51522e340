#include "oracle/backup/backup_meta.h"

#include <exception>

#include "config/agent_config.h"
#include "config/logon.h"
#include "config/protected_credentials.h"
#include "support/logging/scope.h"
#include "support/text/base64.h"
#include "support/text/convert.h"
#include "support/win/file.h"
#include "support/win/path.h"
#include "support/win/whole_file.h"
#include "support/xml/xml.h"

namespace specific::oracle {

using logging::g_oralib_log;
using logging::log_scope_t;
using util::xml_node_t;

namespace {

void add_protected(const xml_node_t& element, const char* name, const std::string& user,
                   const util::secret_t& password) {
    std::string text;
    if (!user.empty() && protect_credentials(user, password, text)) {
        util::xml_set_attribute(element, name, text);
    }
}

bool read_protected(const xml_node_t& element, const char* name, std::string& user,
                    std::string& password) {
    std::string text;
    return util::xml_try_get_attribute(element, name, text) &&
           unprotect_credentials(text, user, password);
}

bool narrow_account(const std::wstring& wide_user, const util::wide_secret_t& wide_password,
                    std::string& user, util::secret_t& password) {
    try {
        if (!wide_user.empty()) {
            user = util::to_ansi(wide_user);
            password = util::to_ansi(wide_password);
        }
        return true;
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Unable to serialize protected credentials", e);
        return false;
    }
}

}  // namespace

std::wstring GetBackupMetaPath() {
    const std::wstring folder = COracleAgentConfig::instance().OracleTempLogPath();
    win::create_directories(folder + L'\\');
    return win::join_path(folder, L"OracleMeta.xml");
}

void SaveBackupMeta(const std::wstring& path, const std::wstring& prepareXml,
                    const SOracleCredentials& credentials, const std::wstring& osUserName,
                    const util::wide_secret_t& osPassword) {
    if (prepareXml.empty()) {
        return;
    }
    try {
        log_scope_t scope(g_oralib_log, "Saving oracle backup meta to: %1",
                          util::to_ansi_safe(path));
        const xml_node_t document = util::xml_new_document();
        const xml_node_t root = util::xml_add_element(document, "restore");
        const std::string narrow = util::to_ansi(prepareXml);
        util::xml_set_attribute(root, "dbPrepareXml",
                                util::base64_encode(narrow.data(), narrow.size()));
        add_protected(root, "conn", credentials.user, credentials.password);
        std::string user;
        util::secret_t password;
        if (narrow_account(osUserName, osPassword, user, password)) {
            add_protected(root, "os_conn", user, password);
        }
        RemoveBackupMeta(path);
        win::write_whole_file(path, util::xml_serialize(document));
        scope.ok();
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Failed to save oracle backup meta", e);
    }
}

void ReadBackupMeta(const std::wstring& path, std::wstring& prepareXml,
                    SOracleCredentials& credentials, std::wstring& osUserName,
                    std::wstring& osPassword) {
    try {
        if (!win::path_exists(path)) {
            return;
        }
        const std::string text = win::win_file_t::open_read_only(path)->read_all();
        const xml_node_t root = util::xml_child(util::xml_parse(text), "restore");
        prepareXml =
            util::from_ansi(util::base64_decode(util::xml_get_attribute(root, "dbPrepareXml")));
        std::string password;
        read_protected(root, "conn", credentials.user, password);
        credentials.password = util::secret_t(password.begin(), password.end());
        std::string user;
        if (read_protected(root, "os_conn", user, password)) {
            const std::wstring wide_user = util::from_ansi(user);
            osPassword = widen_password(password);
            osUserName = wide_user;
        }
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Failed to get restore meta content: %1",
                                   util::to_ansi_safe(path), e);
    }
}

void RemoveBackupMeta(const std::wstring& path) {
    try {
        if (win::path_exists(path)) {
            win::remove_file(path);
        }
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Failed to remove restore meta file: %1",
                                   util::to_ansi_safe(path), e);
    }
}

}  // namespace specific::oracle
