// Keeping the log from growing for ever.
#pragma once

#include <cstdint>
#include <string>

#include "support/logging/log_file.h"

namespace logging {

/// A log of 15 MiB or more goes into a new archive "<path>.gz", and starts again empty; older
/// archives are aged. Throws; an archive that could not be written is deleted, and the log then
/// keeps its lines; one whose very end failed stays, as the log is empty by then.
void check_size(receiver::log_file_t& log_file);

/// Renames `path` to age 1, age n to age n + 1, and deletes age `limit`. Age n has the number in
/// front of `extension`. Throws.
void age_file(const std::wstring& path, const std::wstring& extension, std::uint32_t limit);

/// The path with `number` in front of its extension; 0 gives the path itself.
std::wstring numbered_path(const std::wstring& path, const std::wstring& extension,
                           std::uint32_t number);

}  // namespace logging
