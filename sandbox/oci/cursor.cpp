#include "sandbox/oci/cursor.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "sandbox/oci/charset.h"
#include "sandbox/oci/errors.h"
#include "sandbox/oci/handles.h"
#include "sandbox/oci/values.h"
#include "sandbox/paths.h"

namespace sandbox::oci {

namespace {

bool begins_with(const std::string& text, const char* start, std::string& rest) {
    const std::size_t length = std::strlen(start);
    if (text.compare(0, length, start) != 0) {
        return false;
    }
    rest = text.substr(length);
    return true;
}

// l.name as "L"."NAME"
std::string as_identifier(const std::string& name) {
    std::string result = "\"";
    for (const char c : to_upper(name)) {
        result += c == '.' ? "\".\"" : std::string(1, c);
    }
    return result + "\"";
}

[[noreturn]] void fail_as_oracle(const std::string& message) {
    std::string rest;
    if (begins_with(message, "ORA-", rest)) {
        throw ora_error_t{std::atoi(rest.c_str()), message};
    }
    if (begins_with(message, "no such table: ", rest)) {
        fail(942, "table or view does not exist");
    }
    if (begins_with(message, "no such column: ", rest) ||
        begins_with(message, "no such function: ", rest)) {
        fail(904, as_identifier(rest) + ": invalid identifier");
    }
    if (begins_with(message, "ambiguous column name: ", rest)) {
        fail(918, "column ambiguously defined");
    }
    if (begins_with(message, "wrong number of arguments", rest)) {
        fail(909, "invalid number of arguments");
    }
    if (begins_with(message, "misuse of aggregate", rest)) {
        fail(934, "group function is not allowed here");
    }
    if (begins_with(message, "near ", rest) || begins_with(message, "incomplete input", rest) ||
        begins_with(message, "unrecognized token", rest)) {
        fail(900, "invalid SQL statement");
    }
    fail(600, "internal error code, arguments: [" + message + "]");
}

void compile(OCIStmt& statement, served_instance_t& instance) {
    const std::string sql = to_sqlite(statement.text, statement.tokens);
    sqlite3_stmt* compiled = nullptr;
    if (sqlite3_prepare_v2(instance.database.handle(), sql.c_str(), -1, &compiled, nullptr) !=
        SQLITE_OK) {
        fail_as_oracle(sqlite3_errmsg(instance.database.handle()));
    }
    statement.cursor.compiled.reset(compiled, sqlite3_finalize);
    statement.cursor.columns = static_cast<std::size_t>(sqlite3_column_count(compiled));
}

void check_readable(const OCIStmt& statement, state_t state) {
    for (const token_t& token : statement.tokens) {
        const state_t needed =
            token.kind == token_t::kind_t::word ? readable_from(token.upper) : state_t::down;
        if (needed > state && needed == state_t::open) {
            fail(1219,
                 "database or pluggable database not open: queries allowed on fixed tables or "
                 "views only");
        }
        if (needed > state) {
            fail(1507, "database not mounted");
        }
    }
}

void bind_all(OCIStmt& statement) {
    sqlite3_stmt* compiled = statement.cursor.compiled.get();
    for (int i = 1; i <= sqlite3_bind_parameter_count(compiled); ++i) {
        const OCIBind& bind = bound_value(statement, sqlite3_bind_parameter_name(compiled, i) + 1);
        const auto value = read_value(bind);
        if (!value) {
            sqlite3_bind_null(compiled, i);
        } else if (bind.data_type == SQLT_INT) {
            sqlite3_bind_int64(compiled, i, std::atoll(value->c_str()));
        } else {
            sqlite3_bind_text(compiled, i, value->c_str(), -1, SQLITE_TRANSIENT);
        }
    }
}

void add_cell(cursor_t& cursor, sqlite3_stmt* compiled, int column) {
    const unsigned char* value = sqlite3_column_text(compiled, column);
    if (!value || !*value) {
        cursor.cells.push_back({0, -1});
        return;
    }
    const std::string text = to_client(reinterpret_cast<const char*>(value));
    cursor.cells.push_back(
        {static_cast<std::uint32_t>(cursor.arena.size()), static_cast<std::int32_t>(text.size())});
    cursor.arena += text;
}

}  // namespace

void run_select(OCIStmt& statement, served_instance_t& instance, const status_t& status) {
    cursor_t& cursor = statement.cursor;
    if (!cursor.compiled) {
        compile(statement, instance);
    }
    check_readable(statement, status.state);
    if (!statement.defines.empty() && statement.defines.rbegin()->first > cursor.columns) {
        fail(1007, "variable not in select list");
    }
    bind_all(statement);
    cursor.arena.clear();
    cursor.cells.clear();
    cursor.next_row = 0;
    cursor.ended = false;
    sqlite3_stmt* const compiled = cursor.compiled.get();
    while (sqlite3_step(compiled) == SQLITE_ROW) {
        for (std::size_t column = 0; column < cursor.columns; ++column) {
            add_cell(cursor, compiled, static_cast<int>(column));
        }
    }
    const std::string message = sqlite3_errmsg(instance.database.handle());
    if (sqlite3_reset(compiled) != SQLITE_OK) {
        fail_as_oracle(message);
    }
}

int fetch_row(OCIStmt& statement) {
    cursor_t& cursor = statement.cursor;
    if (cursor.ended) {
        fail(1002, "fetch out of sequence");
    }
    if (statement.defines.empty()) {
        fail(24374, "define not done before fetch or execute and fetch");
    }
    if (cursor.next_row * cursor.columns >= cursor.cells.size()) {
        cursor.ended = true;
        return OCI_NO_DATA;
    }
    const cursor_t::cell_t* row = &cursor.cells[cursor.next_row++ * cursor.columns];
    // An error of a column counts where the column has no array to tell of it. The row is written
    // either way.
    int untold = 0;
    bool told = false;
    for (const auto& [position, define] : statement.defines) {
        const cursor_t::cell_t& cell = row[position - 1];
        if (cell.length < 0) {
            write_null(*define);
            untold = define->indicator || define->code ? untold : null_fetched;
        } else if (!write_value(*define, cursor.arena.data() + cell.begin, cell.length)) {
            const bool tells = define->length || define->code;
            told = told || tells;
            untold = tells ? untold : value_truncated;
        }
    }
    if (untold == null_fetched) {
        fail(null_fetched, "fetched column value is NULL");
    }
    if (untold == value_truncated) {
        fail(value_truncated, "fetched column value was truncated");
    }
    return told ? OCI_SUCCESS_WITH_INFO : OCI_SUCCESS;
}

}  // namespace sandbox::oci
