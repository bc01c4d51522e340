// What to do about the errors that people meet at a backup.
#pragma once

#include <iosfwd>
#include <string>

namespace host {

/// A line for each error of Oracle's ("ORA-00257") or of the system's ("Error code: 0x00000070") in
/// the text that something can be said about, behind `margin`.
void print_hints(std::ostream& stream, const std::string& text, const char* margin = "  ");

}  // namespace host
