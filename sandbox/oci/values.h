// The memory of the caller behind defines and binds.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "sandbox/oci/handles.h"

namespace sandbox::oci {

constexpr ub2 null_fetched = 1405;
constexpr ub2 value_truncated = 1406;

/// False where the value did not fit.
bool write_value(const OCIDefine& define, const char* text, std::int32_t length);
void write_null(const OCIDefine& define);

/// The bind of this name; ORA-01008 where there is none.
const OCIBind& bound_value(const OCIStmt& statement, const std::string& name);
/// UTF-8, a number as its digits; nothing for NULL.
std::optional<std::string> read_value(const OCIBind& bind);
void write_number(const OCIBind& bind, std::int64_t number);

}  // namespace sandbox::oci
