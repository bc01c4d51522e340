// Keeping the log from growing for ever.
#pragma once

#include <cstdint>
#include <string>

#include "support/logging/log_file.h"

namespace logging {

/// A log of 15 MiB or more goes into a new archive "<path>.gz", and starts again empty; older
/// archives are aged, and the oldest goes. Throws; until the new archive is whole nothing is lost:
/// a failure leaves the log and its archives as they were.
void check_size(receiver::log_file_t& log_file);

/// The path with `number` in front of its extension; 0 gives the path itself.
std::wstring numbered_path(const std::wstring& path, const std::wstring& extension,
                           std::uint32_t number);

}  // namespace logging
