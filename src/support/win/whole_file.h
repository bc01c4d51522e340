// Files that are whole or not there.
#pragma once

#include <string>

namespace win {

/// Whoever looks at `path`, also in a snapshot or after a crash, finds all of `content` or no file:
/// it is written beside, under a name that nobody can guess and that has no extension, and moved
/// when the disk has it. An old file is replaced. Throws; then neither of the two is left.
void write_whole_file(const std::wstring& path, const std::string& content);

}  // namespace win
