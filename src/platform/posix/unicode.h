// Text between UTF-8 or a code page and UTF-16 in wchar_t, and the case folding of names.
#pragma once

#include <string>

#include "platform/posix/types.h"

namespace platform {

bool is_code_page(UINT code_page);

/// What has no counterpart becomes "?", in Unicode U+FFFD, and sets `lossy`, which may be null.
std::wstring widen(UINT code_page, const std::string& text, bool* lossy = nullptr);
std::string narrow(UINT code_page, const std::wstring& text, const char* fallback = "?",
                   bool* lossy = nullptr);

std::wstring from_utf8(const std::string& text);
std::string to_utf8(const std::wstring& text);
/// In the machine's ANSI code page.
std::wstring widen_ansi(const std::string& text);
std::string narrow_ansi(const std::wstring& text);

/// The form in which names compare equal that differ in case only.
std::wstring fold(const std::wstring& name);
bool same_name(const std::wstring& a, const std::wstring& b);

}  // namespace platform
