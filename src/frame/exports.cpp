// The exported functions: the host's texts in, one operation of the manager, a text or a failure
// out. No std::exception passes to the host.
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>

#include <boost/shared_ptr.hpp>

#include "config/agent_config.h"
#include "frame/manager.h"
#include "oralib/oralib.h"
#include "support/logging/logger.h"
#include "support/logging/start.h"
#include "support/text/convert.h"

using specific::oracle::COracleAgentConfig;
using specific::oracle::COracleManager;
using specific::oracle::SOracleCredentials;

namespace {

bool g_initialized = false;
boost::shared_ptr<void> g_stopHandle;

std::wstring from_host(const oralib_char* text) {
    return std::wstring(text, text + std::char_traits<oralib_char>::length(text));
}

util::wide_secret_t secret_from_host(const oralib_char* text) {
    return util::wide_secret_t(text, text + std::char_traits<oralib_char>::length(text));
}

// On the heap of OracleLibStrFree.
oralib_char* to_host(const std::wstring& text) {
    auto* const copy =
        static_cast<oralib_char*>(std::malloc((text.size() + 1) * sizeof(oralib_char)));
    for (std::size_t i = 0; i <= text.size(); ++i) {
        copy[i] = static_cast<oralib_char>(text.c_str()[i]);
    }
    return copy;
}

SOracleCredentials make_credentials(const std::wstring& user, const util::wide_secret_t& password) {
    return SOracleCredentials{util::to_ansi(user), util::to_ansi(password)};
}

// The phrase is for the log alone: the host gets what() with all its lines.
oralib_char* compose_error_text(const std::string& phrase, const std::exception& e) {
    const char* const what = e.what();
    const std::wstring text = what ? util::from_ansi_safe(what) : std::wstring();
    logging::g_oralib_log.log_exception_thread(phrase, e);
    return to_host(text);
}

template <typename Body>
oralib_result run(const char* phrase, oralib_char** errorText, const Body& body) {
    try {
        body();
        return ORALIB_OK;
    } catch (const std::exception& e) {
        *errorText = compose_error_text(phrase, e);
        return ORALIB_FAILED;
    }
}

}  // namespace

oralib_result OracleVssInitLib(const oralib_char* logName, oralib_char** errorText) {
    if (g_initialized) {
        return ORALIB_OK;
    }
    return run("Failed to initialize oracle VSS lib.", errorText, [&] {
        logging::get_log(from_host(logName));
        logging::start_log({});
        COracleManager::instance();
        COracleAgentConfig::instance().log_config();
        g_initialized = true;
    });
}

oralib_result OracleVssStopLib(oralib_char** errorText) {
    return run("Failed to stop oracle VSS lib.", errorText,
               [] { boost::shared_ptr<void>().swap(g_stopHandle); });
}

oralib_result OracleExploreInstances(bool collectPfile, const oralib_char* userName,
                                     const oralib_char* password, const oralib_char* configXml,
                                     oralib_char** resultXml, oralib_char** errorText) {
    return run("Failed to explore oracle instances.", errorText, [&] {
        std::wstring result;
        {
            const std::wstring config = from_host(configXml);
            const util::wide_secret_t pass = secret_from_host(password);
            const std::wstring user = from_host(userName);
            COracleManager::instance().ExploreInstances(result, collectPfile,
                                                        make_credentials(user, pass), config);
        }
        *resultXml = to_host(result);
    });
}

oralib_result OraclePrepareDbsForBackup(const oralib_char* configXml, const oralib_char* userName,
                                        const oralib_char* password, const oralib_char* osUserName,
                                        const oralib_char* osPassword, oralib_char** resultXml,
                                        oralib_char** errorText) {
    return run("Failed to prepare dbs for backup", errorText, [&] {
        std::wstring result;
        {
            const util::wide_secret_t os_pass = secret_from_host(osPassword);
            const std::wstring os_user = from_host(osUserName);
            const util::wide_secret_t pass = secret_from_host(password);
            const std::wstring user = from_host(userName);
            const std::wstring config = from_host(configXml);
            COracleManager::instance().PrepareDbsForBackup(
                result, config, make_credentials(user, pass), os_user, os_pass);
        }
        *resultXml = to_host(result);
    });
}

oralib_result OracleFinishDbsBackup(const oralib_char* prepareXml, const oralib_char* userName,
                                    const oralib_char* password, oralib_char** errorText) {
    return run("Failed to finish dbs backup", errorText, [&] {
        const util::wide_secret_t pass = secret_from_host(password);
        const std::wstring user = from_host(userName);
        const std::wstring document = from_host(prepareXml);
        COracleManager::instance().FinishDbsBackup(document, make_credentials(user, pass));
    });
}

oralib_result OracleBackupLogs(const oralib_char* oracleHome, const oralib_char* sid,
                               const oralib_char* usn, const oralib_char* lastRecId,
                               const oralib_char* userName, const oralib_char* password,
                               oralib_char** resultXml, oralib_char** errorText) {
    return run("Failed to backup oracle logs.", errorText, [&] {
        std::wstring result;
        {
            const util::wide_secret_t pass = secret_from_host(password);
            const std::wstring user = from_host(userName);
            const std::wstring last = from_host(lastRecId);
            const std::wstring position = from_host(usn);
            const std::wstring instance = from_host(sid);
            const std::wstring home = from_host(oracleHome);
            COracleManager::instance().BackupLogs(result, home, instance, position, last,
                                                  make_credentials(user, pass));
        }
        *resultXml = to_host(result);
    });
}

oralib_result OracleEnumLogs(oralib_char** resultXml, oralib_char** errorText) {
    return run("Failed to enum oracle logs.", errorText, [&] {
        std::wstring result;
        COracleManager::instance().EnumLogs(result);
        *resultXml = to_host(result);
    });
}

oralib_result OracleRemoveLogsInTemp(const oralib_char* logs, oralib_char** errorText) {
    return run("Failed to remove oracle logs.", errorText,
               [&] { COracleManager::instance().RemoveLogsInTemp(from_host(logs)); });
}

oralib_result OracleGetLogsFolder(oralib_char** folder, oralib_char** errorText) {
    return run("Failed to get oracle logs folder.", errorText, [&] {
        std::wstring result;
        COracleManager::instance().GetLogsFolder(result);
        *folder = to_host(result);
    });
}

oralib_result OracleDeleteLogsByTime(const oralib_char* oracleHome, const oralib_char* sid,
                                     int32_t minutes, const oralib_char* userName,
                                     const oralib_char* password, oralib_char** errorText) {
    return run("Failed to delete oracle logs by time", errorText, [&] {
        const util::wide_secret_t pass = secret_from_host(password);
        const std::wstring user = from_host(userName);
        const std::wstring instance = from_host(sid);
        const std::wstring home = from_host(oracleHome);
        COracleManager::instance().DeleteLogsByTime(home, instance, minutes,
                                                    make_credentials(user, pass));
    });
}

oralib_result OracleDeleteLogsBySize(const oralib_char* oracleHome, const oralib_char* sid,
                                     int64_t sizeLimit, const oralib_char* userName,
                                     const oralib_char* password, oralib_char** errorText) {
    return run("Failed to delete oracle logs by size", errorText, [&] {
        const util::wide_secret_t pass = secret_from_host(password);
        const std::wstring user = from_host(userName);
        const std::wstring instance = from_host(sid);
        const std::wstring home = from_host(oracleHome);
        COracleManager::instance().DeleteLogsBySize(home, instance, sizeLimit,
                                                    make_credentials(user, pass));
    });
}

oralib_result OracleIsRestoreRequired(bool* required, oralib_char** errorText) {
    return run("Failed to check if restore required", errorText,
               [&] { *required = COracleManager::instance().IsRestoreRequired(); });
}

oralib_result OracleDoRestore(oralib_char** errorText) {
    return run("Failed to do oracle restore", errorText,
               [] { COracleManager::instance().DoRestore(); });
}

oralib_result OracleCheckIfAsmExist(bool* exists, oralib_char** errorText) {
    return run("Failed to check if any ASM exist", errorText,
               [&] { *exists = COracleManager::instance().CheckIfAsmExist(); });
}

oralib_result OracleTest(void*, void*, const oralib_char* logName, oralib_char** errorText) {
    oralib_result result = ORALIB_OK;
    const oralib_result failure = run("Failed to test oracle.", errorText, [&] {
        result = OracleVssInitLib(logName, errorText);
        if (result < 0) {
            return;
        }
        COracleManager::instance().TestOracle();
        result = OracleVssStopLib(errorText);
    });
    return failure < 0 ? failure : result;
}

void OracleLibStrFree(oralib_char* text) {
    std::free(text);
}
