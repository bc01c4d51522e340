// The system's own words for its error codes.
#pragma once

#include <cstdint>
#include <string>

namespace exc {

/// The English text of a system error code, in UTF-8, without its line end.
std::string system_error_text(std::uint32_t code);

/// The description of the thread's COM error object, in the ANSI code page; empty if there is
/// none.
std::string com_error_description();

}  // namespace exc
