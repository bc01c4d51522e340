#include "road/module.h"

#include <codecvt>
#include <cstdlib>
#include <locale>
#include <stdexcept>

namespace road {

namespace {

using converter_t = std::wstring_convert<std::codecvt_utf8_utf16<oralib_char>, oralib_char>;

}  // namespace

text_t to_utf16(const std::string& text) {
    return converter_t().from_bytes(text);
}

std::string to_utf8(const oralib_char* text) {
    return text ? converter_t().to_bytes(text) : nothing;
}

module_t::module_t() : m_library(ORALIB_MODULE) {
    for (const char* const name :
         {"OracleVssInitLib", "OracleVssStopLib", "OracleExploreInstances",
          "OraclePrepareDbsForBackup", "OracleFinishDbsBackup", "OracleBackupLogs",
          "OracleEnumLogs", "OracleRemoveLogsInTemp", "OracleGetLogsFolder",
          "OracleDeleteLogsByTime", "OracleDeleteLogsBySize", "OracleIsRestoreRequired",
          "OracleDoRestore", "OracleCheckIfAsmExist", "OracleTest", "OracleLibStrFree"}) {
        m_exports[name] = m_library.find(name);
    }
}

void* module_t::find(const char* name) const {
    return m_exports.at(name);
}

void module_t::free(oralib_char* text) {
    function<decltype(OracleLibStrFree)>("OracleLibStrFree")(text);
}

template <typename Call>
answer_t module_t::take(const Call& call) {
    oralib_char* result = nullptr;
    oralib_char* error = nullptr;
    answer_t answer;
    answer.code = call(&result, &error);
    answer.result = to_utf8(result);
    answer.error = to_utf8(error);
    free(result);
    free(error);
    return answer;
}

answer_t module_t::init(const std::string& log_name) {
    return take([&](oralib_char**, oralib_char** error) {
        return function<decltype(OracleVssInitLib)>("OracleVssInitLib")(to_utf16(log_name).c_str(),
                                                                        error);
    });
}

answer_t module_t::stop() {
    return take([&](oralib_char**, oralib_char** error) {
        return function<decltype(OracleVssStopLib)>("OracleVssStopLib")(error);
    });
}

answer_t module_t::explore(const std::string& config, bool pfile, const std::string& user,
                           const std::string& password) {
    return take([&](oralib_char** result, oralib_char** error) {
        return function<decltype(OracleExploreInstances)>("OracleExploreInstances")(
            pfile, to_utf16(user).c_str(), to_utf16(password).c_str(), to_utf16(config).c_str(),
            result, error);
    });
}

answer_t module_t::prepare(const std::string& config, const std::string& user,
                           const std::string& password, const std::string& os_user,
                           const std::string& os_password) {
    return take([&](oralib_char** result, oralib_char** error) {
        return function<decltype(OraclePrepareDbsForBackup)>("OraclePrepareDbsForBackup")(
            to_utf16(config).c_str(), to_utf16(user).c_str(), to_utf16(password).c_str(),
            to_utf16(os_user).c_str(), to_utf16(os_password).c_str(), result, error);
    });
}

answer_t module_t::finish(const std::string& document, const std::string& user,
                          const std::string& password) {
    return take([&](oralib_char**, oralib_char** error) {
        return function<decltype(OracleFinishDbsBackup)>("OracleFinishDbsBackup")(
            to_utf16(document).c_str(), to_utf16(user).c_str(), to_utf16(password).c_str(), error);
    });
}

answer_t module_t::backup_logs(const std::string& home, const std::string& sid,
                               const std::string& usn, const std::string& last_rec_id,
                               const std::string& user, const std::string& password) {
    return take([&](oralib_char** result, oralib_char** error) {
        return function<decltype(OracleBackupLogs)>("OracleBackupLogs")(
            to_utf16(home).c_str(), to_utf16(sid).c_str(), to_utf16(usn).c_str(),
            to_utf16(last_rec_id).c_str(), to_utf16(user).c_str(), to_utf16(password).c_str(),
            result, error);
    });
}

answer_t module_t::enum_logs() {
    return take([&](oralib_char** result, oralib_char** error) {
        return function<decltype(OracleEnumLogs)>("OracleEnumLogs")(result, error);
    });
}

answer_t module_t::remove_logs(const std::string& list) {
    return take([&](oralib_char**, oralib_char** error) {
        return function<decltype(OracleRemoveLogsInTemp)>("OracleRemoveLogsInTemp")(
            to_utf16(list).c_str(), error);
    });
}

answer_t module_t::delete_logs_by_time(const std::string& home, const std::string& sid,
                                       std::int32_t minutes, const std::string& user,
                                       const std::string& password) {
    return take([&](oralib_char**, oralib_char** error) {
        return function<decltype(OracleDeleteLogsByTime)>("OracleDeleteLogsByTime")(
            to_utf16(home).c_str(), to_utf16(sid).c_str(), minutes, to_utf16(user).c_str(),
            to_utf16(password).c_str(), error);
    });
}

answer_t module_t::delete_logs_by_size(const std::string& home, const std::string& sid,
                                       std::int64_t limit, const std::string& user,
                                       const std::string& password) {
    return take([&](oralib_char**, oralib_char** error) {
        return function<decltype(OracleDeleteLogsBySize)>("OracleDeleteLogsBySize")(
            to_utf16(home).c_str(), to_utf16(sid).c_str(), limit, to_utf16(user).c_str(),
            to_utf16(password).c_str(), error);
    });
}

answer_t module_t::is_restore_required(bool& required) {
    return take([&](oralib_char**, oralib_char** error) {
        return function<decltype(OracleIsRestoreRequired)>("OracleIsRestoreRequired")(&required,
                                                                                      error);
    });
}

answer_t module_t::restore() {
    return take([&](oralib_char**, oralib_char** error) {
        return function<decltype(OracleDoRestore)>("OracleDoRestore")(error);
    });
}

answer_t module_t::logs_folder() {
    return take([&](oralib_char** result, oralib_char** error) {
        return function<decltype(OracleGetLogsFolder)>("OracleGetLogsFolder")(result, error);
    });
}

answer_t module_t::asm_exists(bool& exists) {
    return take([&](oralib_char**, oralib_char** error) {
        return function<decltype(OracleCheckIfAsmExist)>("OracleCheckIfAsmExist")(&exists, error);
    });
}

answer_t module_t::test(const std::string& log_name) {
    return take([&](oralib_char**, oralib_char** error) {
        return function<decltype(OracleTest)>("OracleTest")(nullptr, nullptr,
                                                            to_utf16(log_name).c_str(), error);
    });
}

}  // namespace road
