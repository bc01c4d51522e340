// Numbers out of text.
#pragma once

#include <cstdint>
#include <string>

namespace util {

/// Throws runtime_exc_t for what is not a decimal number, or does not fit.
std::uint64_t parse_uint64(const std::wstring& text);
/// False for what is not one decimal number, with or without a sign, or does not fit.
bool parse_int32(const std::string& text, std::int32_t& number);

}  // namespace util
