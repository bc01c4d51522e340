// Texts in files of the operator's.
#pragma once

#include <string>

#include "host/options.h"

namespace host {

/// A UTF-8 text, without its mark. Throws std::runtime_error.
std::string read_text(const std::string& file);
/// The text of the file that an option names; empty where it is not given.
std::string read_option_file(const arguments_t& arguments, const std::string& option);

/// Whether the file is there and not empty.
bool has_content(const std::string& file);

/// Writes beside the file and renames, so that under its name there is the whole text or none.
/// Throws std::runtime_error.
void write_whole(const std::string& file, const std::string& text);

}  // namespace host
