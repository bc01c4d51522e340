#include "oracle/connect/query.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <cwctype>
#include <exception>

#include <boost/make_shared.hpp>

#include "oracle/connect/interface.h"
#include "support/exc/rethrow.h"
#include "support/logging/logger.h"
#include "support/text/convert.h"

namespace specific::oracle {

using logging::g_oralib_log;

namespace {

constexpr std::size_t value_size = 1024;

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
        env->check((*oci)->AttrSet(service_context->get(), OCI_HTYPE_SVCCTX, session_handle->get(),
                                   0, OCI_ATTR_SESSION, env->error_handle()));
        const auto statement = env->alloc_handle(OCI_HTYPE_STMT);
        env->check((*oci)->StmtPrepare(statement->get<OCIStmt>(), env->error_handle(),
                                       reinterpret_cast<const OraText*>(sql.c_str()),
                                       static_cast<ub4>(std::strlen(sql.c_str())), OCI_NTV_SYNTAX,
                                       OCI_DEFAULT));
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
        std::vector<row_t> rows = fetch(statement->get<OCIStmt>(), column_count, uppercase);
        log_rows(rows);
        return boost::make_shared<COracleQueryResult>(std::move(rows));
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to exec query [%1].", sql, e);
    }
}

std::vector<row_t> COracleQuery::fetch(OCIStmt* statement, std::uint32_t column_count,
                                       bool uppercase) {
    const auto oci = get_interface();
    std::vector<column_t> columns(column_count);
    for (std::uint32_t i = 0; i < column_count; ++i) {
        OCIDefine* define = nullptr;
        env->check((*oci)->DefineByPos(statement, &define, env->error_handle(), i + 1,
                                       columns[i].buffer.data(), static_cast<sb4>(value_size),
                                       SQLT_STR, &columns[i].indicator, nullptr, nullptr,
                                       OCI_DEFAULT));
        columns[i].define = boost::make_shared<COracleHandle>(define, OCI_HTYPE_DEFINE);
    }

    env->check((*oci)->StmtExecute(service_context->get<OCISvcCtx>(), statement,
                                   env->error_handle(), column_count == 0 ? 1 : 0, 0, nullptr,
                                   nullptr, OCI_DEFAULT));

    std::vector<row_t> rows;
    for (;;) {
        // A command has no rows: this fetch fails, and so ends the loop at once.
        const sword status =
            (*oci)->StmtFetch2(statement, env->error_handle(), 1, OCI_FETCH_NEXT, 0, OCI_DEFAULT);
        if (status != OCI_SUCCESS && status != OCI_SUCCESS_WITH_INFO) {
            return rows;
        }
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
