// Oracle's SQL functions on SQLite.
#pragma once

#include <string>

namespace sandbox::oci {

class served_instance_t;

/// TO_CHAR, SYS_EXTRACT_UTC, SYS_CONTEXT. The instance outlives its database's connection.
void add_functions(served_instance_t& instance);

/// Now, "yyyy-mm-dd hh:mm:ss" in the server's local time.
std::string local_time(const served_instance_t& instance);

}  // namespace sandbox::oci
