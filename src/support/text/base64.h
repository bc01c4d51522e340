// Base64: the standard alphabet with "=" padding.
#pragma once

#include <cstddef>
#include <string>

namespace util {

std::string base64_encode(const void* data, std::size_t size);

/// Skips line ends; stops at the first "=" and at the first character outside the alphabet.
std::string base64_decode(const std::string& text);

}  // namespace util
