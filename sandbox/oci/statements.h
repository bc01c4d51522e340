// What a session can execute besides a SELECT. A new statement is a row in one of the two tables.
#pragma once

#include "sandbox/oci/handles.h"

namespace sandbox::oci {

struct execution_t {
    OCIStmt& statement;
    served_instance_t& instance;
    const identity_t& identity;
    const status_t& status;
};

/// ALTER, CREATE, DROP. Throws ora_error_t, ORA-00900 for what it does not know.
void run_command(const execution_t& execution);

/// A PL/SQL block of procedure calls.
void run_block(const execution_t& execution);

}  // namespace sandbox::oci
