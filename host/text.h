// Text between the module (UTF-16), the console (UTF-8) and the eye. No locale is looked at.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "oralib/oralib.h"

namespace host {

/// Throws std::runtime_error for what is not UTF-8: a replaced character would change a password.
std::basic_string<oralib_char> to_utf16(const std::string& utf8);
/// Half a surrogate pair becomes U+FFFD; null becomes "".
std::string to_utf8(const oralib_char* text);

/// For the screen: control characters, which could move the cursor, become spaces, and bytes that
/// are not UTF-8 are taken as Latin-1.
std::string to_one_line(const std::string& text);
/// Columns on a terminal.
std::size_t display_width(const std::string& utf8);
/// "964.7 MiB"
std::string to_human_size(std::uint64_t bytes);

/// Nothing where the text is not base64 with its padding.
std::optional<std::string> from_base64(const std::string& text);
/// At line feeds, each with or without a carriage return; no empty last line.
std::vector<std::string> split_lines(const std::string& text);
/// The lines of a failure for the screen: those for people, and with `trace` behind them those that
/// tell its way through the module ("--tr:").
std::vector<std::string> failure_lines(const std::string& text, bool trace);

}  // namespace host
