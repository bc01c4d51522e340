// Dates as they travel between Oracle and the library.
#pragma once

#include <string>

namespace specific::oracle {

/// The SQL that reads a date column as UTC text, 'yyyy/mm/dd hh24:mi:ss'.
std::string utc_text_expression(const std::string& column);

/// The current UTC time as yyyy-mm-ddThh:mm:ss.
std::wstring current_time_text();

}  // namespace specific::oracle
