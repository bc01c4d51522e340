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

/// The texts of warnings and errors on the way of finishing one database; empty if all went well.
std::vector<std::string> trouble_of_finish(const std::string& log, const std::string& sid);
/// The texts of all errors and warnings that speak of a failure.
std::vector<std::string> all_failures(const std::string& log);

}  // namespace host
