// The module as a host has it: loaded at run time, its functions found by name, its texts UTF-16.
#pragma once

#include <map>
#include <string>

#include "oralib/oralib.h"
#include "sandbox/native.h"

namespace road {

using text_t = std::basic_string<oralib_char>;

text_t to_utf16(const std::string& text);
std::string to_utf8(const oralib_char* text);

/// What one call gave: the result, and the texts it stored, "(null)" where it stored none.
struct answer_t {
    oralib_result code = ORALIB_OK;
    std::string result;
    std::string error;
};

constexpr const char* nothing = "(null)";

/// The module, loaded for the object's lifetime.
class module_t {
  public:
    module_t();

    answer_t init(const std::string& log_name);
    answer_t stop();
    answer_t explore(const std::string& config = "", bool pfile = false,
                     const std::string& user = "", const std::string& password = "");
    answer_t prepare(const std::string& config = "", const std::string& user = "",
                     const std::string& password = "", const std::string& os_user = "",
                     const std::string& os_password = "");
    answer_t finish(const std::string& document, const std::string& user = "",
                    const std::string& password = "");
    answer_t backup_logs(const std::string& home, const std::string& sid, const std::string& usn,
                         const std::string& last_rec_id, const std::string& user = "",
                         const std::string& password = "");
    answer_t enum_logs();
    answer_t remove_logs(const std::string& list);
    answer_t delete_logs_by_time(const std::string& home, const std::string& sid,
                                 std::int32_t minutes, const std::string& user = "",
                                 const std::string& password = "");
    answer_t delete_logs_by_size(const std::string& home, const std::string& sid,
                                 std::int64_t limit, const std::string& user = "",
                                 const std::string& password = "");
    answer_t is_restore_required(bool& required);
    answer_t restore();
    answer_t logs_folder();
    answer_t asm_exists(bool& exists);
    answer_t test(const std::string& log_name);
    void free(oralib_char* text);

    /// The address of an export.
    void* find(const char* name) const;

    template <typename Function>
    Function* function(const char* name) const {
        return reinterpret_cast<Function*>(find(name));
    }

  private:
    template <typename Call>
    answer_t take(const Call& call);

    sandbox::library_t m_library;
    // Looked up early, as a host should: a client that hangs may have the loader later.
    std::map<std::string, void*> m_exports;
};

}  // namespace road
