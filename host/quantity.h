// Ages and sizes on the command line. What is none throws usage_error_t.
#pragma once

#include <cstdint>
#include <string>

namespace host {

/// "30s", "90m", "12h", "2d": in seconds, at most some 60 years.
std::int32_t read_time(const std::string& text);
/// "500MiB", "20GiB", or bytes: in bytes.
std::int64_t read_size(const std::string& text);

}  // namespace host
