// Where a password comes from; never the command line, which every process of the machine can read.
#pragma once

#include <string>

namespace host {

/// The first line of `file`; without a file, ORALIB_PASSWORD, which is then taken out of the
/// environment; without that, the answer at the terminal. Throws std::runtime_error.
std::string get_password(const std::string& user, const std::string& file);

}  // namespace host
