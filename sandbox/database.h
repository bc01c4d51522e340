// SQLite in the few words that the sandbox needs. Failures are std::runtime_error with its message.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <filesystem>
#include <string>

namespace sandbox {

class database_t {
  public:
    enum class mode { existing, create };

    database_t(const std::filesystem::path& file, mode how);
    ~database_t();
    database_t(const database_t&) = delete;
    database_t& operator=(const database_t&) = delete;

    void execute(const std::string& sql);
    sqlite3* handle() const { return m_handle; }

  private:
    sqlite3* m_handle = nullptr;
};

/// Rolled back at the end of the scope, unless committed.
class transaction_t {
  public:
    explicit transaction_t(database_t& database);
    ~transaction_t();
    transaction_t(const transaction_t&) = delete;
    transaction_t& operator=(const transaction_t&) = delete;
    void commit();

  private:
    database_t& m_database;
    bool m_open = true;
};

class query_t {
  public:
    query_t(const database_t& database, const std::string& sql);
    ~query_t();
    query_t(const query_t&) = delete;
    query_t& operator=(const query_t&) = delete;

    /// Positions count from 1, and an empty text is NULL.
    query_t& bind(int position, const std::string& text);
    query_t& bind(int position, std::int64_t number);

    /// True where there is a row.
    bool step();
    /// Runs to the end and makes ready for other values.
    void run();
    void reset() { sqlite3_reset(m_statement); }

    /// Columns count from 0; NULL is empty or 0.
    std::string text(int column) const;
    std::int64_t number(int column) const;

  private:
    void check(int result) const;

    sqlite3* m_database;
    sqlite3_stmt* m_statement = nullptr;
};

}  // namespace sandbox
