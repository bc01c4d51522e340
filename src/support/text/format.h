// Messages with %1 placeholders, and the few values that go into them.
#pragma once

#include <string>
#include <vector>

namespace util {

/// Replaces %N by argument N, counted from 1. What is no placeholder stays as it stands: a lone
/// '%', "%%", and a number without an argument. Arguments are not scanned for placeholders.
std::string format_message(const std::string& format, const std::vector<std::string>& args);
std::string format_message(const std::string& format, const std::string& a);
std::string format_message(const std::string& format, const std::string& a, const std::string& b);
std::string format_message(const std::string& format, const std::string& a, const std::string& b,
                           const std::string& c);
std::string format_message(const std::string& format, const std::string& a, const std::string& b,
                           const std::string& c, const std::string& d);
std::wstring format_message(const std::wstring& format, const std::wstring& a);
std::wstring format_message(const std::wstring& format, const std::wstring& a,
                            const std::wstring& b);
std::wstring format_message(const std::wstring& format, const std::wstring& a,
                            const std::wstring& b, const std::wstring& c);

template <typename Integer>
std::string to_string(Integer value) {
    return std::to_string(value);
}
std::string to_string(bool value);

/// "true" and "false" are themselves; any other text is true unless it is "0".
bool parse_bool(const std::string& text);

}  // namespace util
