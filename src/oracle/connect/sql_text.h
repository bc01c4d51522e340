// Texts from outside inside a statement, so that they stay what they are.
#pragma once

#include <string>

namespace specific::oracle {

/// For the inside of a literal: each apostrophe doubled.
std::string sql_literal(const std::string& text);

/// For the inside of a quoted identifier, which can hold neither a double quote nor a control
/// character: runtime_exc_t.
const std::string& sql_identifier(const std::string& text);

/// One decimal number, as it came: digits, before them at most one sign, blanks around them.
/// Anything else is a runtime_exc_t.
const std::string& sql_number(const std::string& text);

}  // namespace specific::oracle
