// The client's character set, Windows 1252; inside the sandbox all text is UTF-8.
#pragma once

#include <string>

namespace sandbox::oci {

std::string from_client(const std::string& text);
/// What the character set does not have becomes an inverted question mark, as with Oracle.
std::string to_client(const std::string& text);

}  // namespace sandbox::oci
