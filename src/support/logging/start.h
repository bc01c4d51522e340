// The start of the log.
#pragma once

#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "support/logging/logger.h"

namespace logging {

/// The module's log. The first call stores the name of the log file, with its extension and
/// relative to the log directory or absolute; later calls ignore their argument.
boost::shared_ptr<log_t> get_log(const std::wstring& log_name);

/// Installs the receiver and writes the banner. "-log PATH" in `args` names the file; without it
/// the stored name in the log directory, and with an empty one standard output. Throws where the
/// file cannot be opened; may then be called again.
void start_log(const std::vector<std::wstring>& args);

}  // namespace logging
