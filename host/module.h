// The oralib module as an agent uses it: loaded at run time, its functions found by name.
#pragma once

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "sandbox/native.h"

namespace host {

/// A call failed; what() holds the lines of the failure, UTF-8.
class module_error_t : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct logon_t {
    std::string user;  ///< empty: operating-system authentication
    std::string password;
};

/// The loaded and started module. All texts are UTF-8. Only test() lets the module write to
/// standard output.
class module_t {
  public:
    module_t(const std::filesystem::path& file, const std::string& log_name);
    ~module_t();
    module_t(const module_t&) = delete;
    module_t& operator=(const module_t&) = delete;

    /// The explore document.
    std::string explore(bool collect_pfile, const logon_t& logon, const std::string& config_xml);
    /// The prepare document.
    std::string prepare(const logon_t& logon, const logon_t& os_logon,
                        const std::string& config_xml);
    void finish(const std::string& document, const logon_t& logon);
    /// The list document, as of list_logs().
    std::string backup_logs(const std::string& home, const std::string& sid, const std::string& usn,
                            const std::string& last_rec_id, const logon_t& logon);
    std::string list_logs();
    void remove_logs(const std::string& list);
    void delete_logs_by_time(const std::string& home, const std::string& sid, std::int32_t minutes,
                             const logon_t& logon);
    void delete_logs_by_size(const std::string& home, const std::string& sid, std::int64_t limit,
                             const logon_t& logon);
    bool is_restore_required();
    void restore();
    std::string logs_folder();
    bool asm_exists();
    void test();

  private:
    template <typename Function>
    Function* function(const char* name) const {
        return reinterpret_cast<Function*>(m_library.find(name));
    }
    class text_t;
    template <typename Call>
    void run(const Call& call) const;

    sandbox::library_t m_library;
    std::string m_log_name;
};

}  // namespace host
