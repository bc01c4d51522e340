#include "oracle/connect/query.h"

#include <algorithm>
#include <array>
#include <cwctype>
#include <exception>

#include <boost/make_shared.hpp>

#include "support/exc/rethrow.h"
#include "support/logging/logger.h"
#include "support/text/convert.h"

namespace specific::oracle {

using logging::g_oralib_log;

namespace {

constexpr std::size_t value_size = 1024;
constexpr std::uint32_t ora_value_truncated = 1406;
// In a row: a client that gives the same row again and again must come to an end.
constexpr int max_rows_too_long = 1000;

struct column_t {
    std::array<char, value_size> buffer{};
    sb2 indicator = 0;
    boost::shared_ptr<COracleHandle> define;
};

// A wide character is one 16-bit unit, whatever the size of wchar_t.
wchar_t widen(char byte, bool uppercase) {
    const auto unit = static_cast<wchar_t>(
        static_cast<std::uint16_t>(static_cast<std::int16_t>(static_cast<signed char>(byte))));
    return uppercase ? static_cast<wchar_t>(std::towupper(static_cast<std::wint_t>(unit))) : unit;
}

std::wstring column_text(const column_t& column, bool uppercase) {
    const auto end = std::find(column.buffer.begin(), column.buffer.end(), '\0');
    std::wstring text(static_cast<std::size_t>(end - column.buffer.begin()), L'\0');
    std::transform(column.buffer.begin(), end, text.begin(),
                   [uppercase](char byte) { return widen(byte, uppercase); });
    return text;
}

void log_rows(const std::vector<row_t>& rows) {
    g_oralib_log.line("Oracle query result");
    for (const row_t& row : rows) {
        std::wstring text;
        for (const std::wstring& column : row) {
            text += column;
            text += L' ';
        }
        g_oralib_log.line(util::to_ansi(text));
    }
}

}  // namespace

bool COracleQueryResult::next(row_t& row) {
    if (cursor == rows.size()) {
        return false;
    }
    row = rows[cursor++];
    return true;
}

COracleQuery::COracleQuery(boost::shared_ptr<COracleEnv> oracle_env,
                           boost::shared_ptr<COracleHandle> service,
                           boost::shared_ptr<COracleHandle> session)
    : env(std::move(oracle_env)),
      service_context(std::move(service)),
      session_handle(std::move(session)) {}

boost::shared_ptr<COracleHandle> COracleQuery::prepare(const std::string& sql) {
    try {
        const auto oci = get_interface();
        oci->attr_set(*env, *service_context, *session_handle, OCI_ATTR_SESSION);
        const auto statement = env->alloc_handle(OCI_HTYPE_STMT);
        oci->stmt_prepare(*env, *statement, sql);
        return statement;
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("OracleSession: failed to create OCI Stmt.", e);
    }
}

boost::shared_ptr<COracleQueryResult> COracleQuery::exec(const std::string& sql,
                                                         std::uint32_t column_count,
                                                         bool uppercase) {
    try {
        g_oralib_log.line("Exec oracle query: %1", sql);
        const auto statement = prepare(sql);
        std::vector<row_t> rows = fetch(*statement, column_count, uppercase);
        log_rows(rows);
        return boost::make_shared<COracleQueryResult>(std::move(rows));
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to exec query [%1].", sql, e);
    }
}

std::vector<row_t> COracleQuery::fetch(const COracleHandle& statement, std::uint32_t column_count,
                                       bool uppercase) {
    const auto oci = get_interface();
    std::vector<column_t> columns(column_count);
    for (std::uint32_t i = 0; i < column_count; ++i) {
        void* const define =
            oci->define_by_pos(*env, statement, i + 1, columns[i].buffer.data(),
                               static_cast<sb4>(value_size), &columns[i].indicator);
        columns[i].define =
            boost::make_shared<COracleHandle>(define, OCI_HTYPE_DEFINE, env->abandoned());
    }

    oci->stmt_execute(*env, *service_context, statement, column_count == 0 ? 1 : 0);

    std::vector<row_t> rows;
    for (int too_long = 0; too_long < max_rows_too_long;) {
        // A command has no rows: this fetch fails, and so ends the loop at once.
        const sword status = oci->stmt_fetch(*env, statement);
        if (status == OCI_ERROR && column_count > 0 && is_row_too_long()) {
            ++too_long;
            continue;
        }
        if (status != OCI_SUCCESS && status != OCI_SUCCESS_WITH_INFO) {
            break;
        }
        too_long = 0;
        const bool complete = std::all_of(columns.begin(), columns.end(),
                                          [](const column_t& c) { return c.indicator == 0; });
        if (complete) {
            row_t row;
            row.reserve(column_count);
            for (const column_t& column : columns) {
                row.push_back(column_text(column, uppercase));
            }
            rows.push_back(std::move(row));
        }
    }
    return rows;
}

// Without an array for return codes the client answers a value that does not fit as an error.
bool COracleQuery::is_row_too_long() const {
    return get_interface()->error_get(*env).code == ora_value_truncated;
}

row_t COracleQuery::exec_row(const std::string& sql, std::uint32_t column_count, bool uppercase) {
    row_t row;
    exec(sql, column_count, uppercase)->next(row);
    return row;
}

std::wstring COracleQuery::exec_value(const std::string& sql, bool uppercase) {
    const row_t row = exec_row(sql, 1, uppercase);
    return row.empty() ? std::wstring() : row.front();
}

void COracleQuery::exec_command(const std::string& sql) {
    exec(sql, 0, true);
}

}  // namespace specific::oracle
