// SQL in, rows of text out.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "oracle/connect/env.h"

namespace specific::oracle {

using row_t = std::vector<std::wstring>;

/// The rows of one query, read from front to back.
class COracleQueryResult {
  public:
    explicit COracleQueryResult(std::vector<row_t> result_rows) : rows(std::move(result_rows)) {}

    /// Copies the row at the cursor and advances; at the end returns false and leaves `row` alone.
    bool next(row_t& row);

  private:
    std::vector<row_t> rows;
    std::uint32_t cursor = 0;
};

/// Runs statements one after the other on a session. Used by one thread at a time.
///
/// Every value arrives as text of at most 1,024 bytes, each byte sign-extended to one character
/// and, with `uppercase`, raised to upper case. A row with a NULL or an overlong value in any
/// column is dropped in silence; any other fetch error ends the rows as their end does. A statement
/// that fails throws COracleExc.
class COracleQuery {
  public:
    COracleQuery(boost::shared_ptr<COracleEnv> oracle_env, boost::shared_ptr<COracleHandle> service,
                 boost::shared_ptr<COracleHandle> session);

    boost::shared_ptr<COracleQueryResult> exec(const std::string& sql, std::uint32_t column_count,
                                               bool uppercase);
    /// The first row; empty if there is none.
    row_t exec_row(const std::string& sql, std::uint32_t column_count, bool uppercase);
    /// The only column of the first row; empty if there is none.
    std::wstring exec_value(const std::string& sql, bool uppercase);
    /// For DDL, DML and PL/SQL.
    void exec_command(const std::string& sql);

  private:
    boost::shared_ptr<COracleHandle> prepare(const std::string& sql);
    std::vector<row_t> fetch(const COracleHandle& statement, std::uint32_t column_count,
                             bool uppercase);
    bool is_row_too_long() const;

    boost::shared_ptr<COracleEnv> env;
    boost::shared_ptr<COracleHandle> service_context;
    boost::shared_ptr<COracleHandle> session_handle;
};

}  // namespace specific::oracle
