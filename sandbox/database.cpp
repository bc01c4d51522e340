#include "sandbox/database.h"

#include <stdexcept>

namespace sandbox {

namespace {

constexpr int busy_milliseconds = 20000;

}  // namespace

database_t::database_t(const std::filesystem::path& file, mode how) {
    const int flags = SQLITE_OPEN_READWRITE | (how == mode::create ? SQLITE_OPEN_CREATE : 0);
    const int result = sqlite3_open_v2(file.u8string().c_str(), &m_handle, flags, nullptr);
    if (result != SQLITE_OK) {
        sqlite3_close(m_handle);
        throw std::runtime_error(file.u8string() + ": " + sqlite3_errstr(result));
    }
    sqlite3_busy_timeout(m_handle, busy_milliseconds);
    // A quoted name that does not exist must not turn into a text.
    sqlite3_db_config(m_handle, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
    sqlite3_db_config(m_handle, SQLITE_DBCONFIG_DQS_DDL, 0, nullptr);
    execute("PRAGMA synchronous=OFF; PRAGMA case_sensitive_like=ON");
}

database_t::~database_t() {
    sqlite3_close(m_handle);
}

void database_t::execute(const std::string& sql) {
    if (sqlite3_exec(m_handle, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
        throw std::runtime_error(std::string(sqlite3_errmsg(m_handle)) + " in: " + sql);
    }
}

transaction_t::transaction_t(database_t& database) : m_database(database) {
    m_database.execute("BEGIN IMMEDIATE");
}

transaction_t::~transaction_t() {
    if (m_open) {
        sqlite3_exec(m_database.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

void transaction_t::commit() {
    m_database.execute("COMMIT");
    m_open = false;
}

query_t::query_t(const database_t& database, const std::string& sql)
    : m_database(database.handle()) {
    check(sqlite3_prepare_v2(m_database, sql.c_str(), -1, &m_statement, nullptr));
}

query_t::~query_t() {
    sqlite3_finalize(m_statement);
}

query_t& query_t::bind(int position, const std::string& text) {
    check(text.empty() ? sqlite3_bind_null(m_statement, position)
                       : sqlite3_bind_text(m_statement, position, text.data(),
                                           static_cast<int>(text.size()), SQLITE_TRANSIENT));
    return *this;
}

query_t& query_t::bind(int position, std::int64_t number) {
    check(sqlite3_bind_int64(m_statement, position, number));
    return *this;
}

bool query_t::step() {
    const int result = sqlite3_step(m_statement);
    if (result != SQLITE_ROW && result != SQLITE_DONE) {
        check(result);
    }
    return result == SQLITE_ROW;
}

void query_t::run() {
    while (step()) {
    }
    reset();
}

std::string query_t::text(int column) const {
    const unsigned char* value = sqlite3_column_text(m_statement, column);
    return value ? reinterpret_cast<const char*>(value) : "";
}

std::int64_t query_t::number(int column) const {
    return sqlite3_column_int64(m_statement, column);
}

void query_t::check(int result) const {
    if (result != SQLITE_OK) {
        throw std::runtime_error(sqlite3_errmsg(m_database));
    }
}

}  // namespace sandbox
