// A SELECT: run as a whole when it is executed, so that nothing stays open between two calls.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "sandbox/oci/dialect.h"

struct OCIStmt;
struct sqlite3_stmt;

namespace sandbox::oci {

class served_instance_t;
struct status_t;

struct cursor_t {
    struct cell_t {
        std::uint32_t begin;
        std::int32_t length;  // -1 for NULL
    };

    std::shared_ptr<sqlite3_stmt> compiled;  // for `owner`, kept for the next execution
    std::size_t columns = 0;
    std::string arena;  // the texts of all cells, in the client's character set
    std::vector<cell_t> cells;
    std::size_t next_row = 0;
    bool ended = false;
};

/// Throws ora_error_t.
void run_select(OCIStmt& statement, served_instance_t& instance, const status_t& status);

/// Puts the next row into the statement's defines. Gives OCI_NO_DATA and throws like OCI.
int fetch_row(OCIStmt& statement);

}  // namespace sandbox::oci
