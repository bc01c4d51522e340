// Between wide text, the ANSI code page and UTF-8.
#pragma once

#include <string>

#include "support/text/secret.h"

namespace util {

/// Each throws win_sys_exc_t for text that the other side cannot hold: nothing is replaced by a
/// question mark. Empty text stays empty without a call of the system.
std::string to_ansi(const std::wstring& text);
secret_t to_ansi(const wide_secret_t& text);
std::wstring from_ansi(const std::string& text);
std::string to_utf8(const std::wstring& text);
std::wstring from_utf8(const std::string& text);

/// Never throw; a fixed text stands for what could not be converted.
std::string to_ansi_safe(const std::wstring& text);
std::wstring from_ansi_safe(const std::string& text);

/// Returns the source unchanged where it cannot be converted.
std::string ansi_to_utf8(const std::string& text);

}  // namespace util
