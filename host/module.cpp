#include "host/module.h"

#include "host/system.h"
#include "host/text.h"
#include "oralib/oralib.h"

namespace host {

// A text of the module, given back to it at the end.
class module_t::text_t {
  public:
    explicit text_t(const module_t& module)
        : m_free(module.function<decltype(OracleLibStrFree)>("OracleLibStrFree")) {}
    ~text_t() { m_free(m_text); }
    text_t(const text_t&) = delete;
    text_t& operator=(const text_t&) = delete;

    oralib_char** out() { return &m_text; }
    std::string utf8() const { return to_utf8(m_text); }

  private:
    decltype(OracleLibStrFree)* m_free;
    oralib_char* m_text = nullptr;
};

template <typename Call>
void module_t::run(const Call& call) const {
    text_t error(*this);
    if (call(error.out()) != ORALIB_OK) {
        throw module_error_t(error.utf8());
    }
}

module_t::module_t(const std::filesystem::path& file, const std::string& log_name)
    : m_library(file), m_log_name(log_name) {
    const quiet_output_t quiet;
    const auto init = function<decltype(OracleVssInitLib)>("OracleVssInitLib");
    run([&](oralib_char** error) { return init(to_utf16(m_log_name).c_str(), error); });
}

module_t::~module_t() {
    try {
        const auto stop = function<decltype(OracleVssStopLib)>("OracleVssStopLib");
        run([&](oralib_char** error) { return stop(error); });
    } catch (const std::exception&) {
        // The work is done and its result delivered; there is nobody left to tell.
    }
}

std::string module_t::explore(bool collect_pfile, const logon_t& logon,
                              const std::string& config_xml) {
    const quiet_output_t quiet;
    const auto explore = function<decltype(OracleExploreInstances)>("OracleExploreInstances");
    text_t document(*this);
    run([&](oralib_char** error) {
        return explore(collect_pfile, to_utf16(logon.user).c_str(),
                       to_utf16(logon.password).c_str(), to_utf16(config_xml).c_str(),
                       document.out(), error);
    });
    return document.utf8();
}

std::string module_t::prepare(const logon_t& logon, const logon_t& os_logon,
                              const std::string& config_xml) {
    const quiet_output_t quiet;
    const auto prepare = function<decltype(OraclePrepareDbsForBackup)>("OraclePrepareDbsForBackup");
    text_t document(*this);
    run([&](oralib_char** error) {
        return prepare(to_utf16(config_xml).c_str(), to_utf16(logon.user).c_str(),
                       to_utf16(logon.password).c_str(), to_utf16(os_logon.user).c_str(),
                       to_utf16(os_logon.password).c_str(), document.out(), error);
    });
    return document.utf8();
}

void module_t::finish(const std::string& document, const logon_t& logon) {
    const quiet_output_t quiet;
    const auto finish = function<decltype(OracleFinishDbsBackup)>("OracleFinishDbsBackup");
    run([&](oralib_char** error) {
        return finish(to_utf16(document).c_str(), to_utf16(logon.user).c_str(),
                      to_utf16(logon.password).c_str(), error);
    });
}

std::string module_t::backup_logs(const std::string& home, const std::string& sid,
                                  const std::string& usn, const std::string& last_rec_id,
                                  const logon_t& logon) {
    const quiet_output_t quiet;
    const auto backup = function<decltype(OracleBackupLogs)>("OracleBackupLogs");
    text_t list(*this);
    run([&](oralib_char** error) {
        return backup(to_utf16(home).c_str(), to_utf16(sid).c_str(), to_utf16(usn).c_str(),
                      to_utf16(last_rec_id).c_str(), to_utf16(logon.user).c_str(),
                      to_utf16(logon.password).c_str(), list.out(), error);
    });
    return list.utf8();
}

std::string module_t::list_logs() {
    const quiet_output_t quiet;
    const auto list_all = function<decltype(OracleEnumLogs)>("OracleEnumLogs");
    text_t list(*this);
    run([&](oralib_char** error) { return list_all(list.out(), error); });
    return list.utf8();
}

void module_t::remove_logs(const std::string& list) {
    const quiet_output_t quiet;
    const auto remove = function<decltype(OracleRemoveLogsInTemp)>("OracleRemoveLogsInTemp");
    run([&](oralib_char** error) { return remove(to_utf16(list).c_str(), error); });
}

void module_t::delete_logs_by_time(const std::string& home, const std::string& sid,
                                   std::int32_t minutes, const logon_t& logon) {
    const quiet_output_t quiet;
    const auto remove = function<decltype(OracleDeleteLogsByTime)>("OracleDeleteLogsByTime");
    run([&](oralib_char** error) {
        return remove(to_utf16(home).c_str(), to_utf16(sid).c_str(), minutes,
                      to_utf16(logon.user).c_str(), to_utf16(logon.password).c_str(), error);
    });
}

void module_t::delete_logs_by_size(const std::string& home, const std::string& sid,
                                   std::int64_t limit, const logon_t& logon) {
    const quiet_output_t quiet;
    const auto remove = function<decltype(OracleDeleteLogsBySize)>("OracleDeleteLogsBySize");
    run([&](oralib_char** error) {
        return remove(to_utf16(home).c_str(), to_utf16(sid).c_str(), limit,
                      to_utf16(logon.user).c_str(), to_utf16(logon.password).c_str(), error);
    });
}

bool module_t::is_restore_required() {
    const quiet_output_t quiet;
    const auto check = function<decltype(OracleIsRestoreRequired)>("OracleIsRestoreRequired");
    bool required = false;
    run([&](oralib_char** error) { return check(&required, error); });
    return required;
}

void module_t::restore() {
    const quiet_output_t quiet;
    const auto restore = function<decltype(OracleDoRestore)>("OracleDoRestore");
    run([&](oralib_char** error) { return restore(error); });
}

std::string module_t::logs_folder() {
    const quiet_output_t quiet;
    const auto get_folder = function<decltype(OracleGetLogsFolder)>("OracleGetLogsFolder");
    text_t folder(*this);
    run([&](oralib_char** error) { return get_folder(folder.out(), error); });
    return folder.utf8();
}

bool module_t::asm_exists() {
    const quiet_output_t quiet;
    const auto check = function<decltype(OracleCheckIfAsmExist)>("OracleCheckIfAsmExist");
    bool exists = false;
    run([&](oralib_char** error) { return check(&exists, error); });
    return exists;
}

void module_t::test() {
    const auto test = function<decltype(OracleTest)>("OracleTest");
    run([&](oralib_char** error) {
        return test(nullptr, nullptr, to_utf16(m_log_name).c_str(), error);
    });
}

}  // namespace host
