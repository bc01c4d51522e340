// What the module writes to its log meanwhile: the only place that tells of one database's failure.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "host/options.h"

namespace host {

/// Looks at the log of this host (and those beside it that it goes to when another process holds
/// the first name), from its making on.
class log_watch_t {
  public:
    explicit log_watch_t(const arguments_t& arguments);
    std::string written_since() const;

  private:
    std::filesystem::path m_file;
    std::map<std::filesystem::path, std::uintmax_t> m_sizes;
};

/// The log that open_module() lets the module write: that of --log, else an absolute path under the
/// common application data folder.
std::string log_name(const arguments_t& arguments);

/// What the log tells of finishing one database, on a live machine or after a restore.
struct finish_log_t {
    std::vector<std::string> trouble;  ///< the texts of warnings and errors, line by line
    bool backup_was_ended = false;     ///< it was tried, at least
    bool came_to_its_end = false;      ///< the step has its " ok."
    bool was_in_no_backup_mode = false;
};
finish_log_t read_finish_log(const std::string& log, const std::string& sid);

}  // namespace host
