#include <algorithm>

#include "sandbox/oci/errors.h"
#include "sandbox/oci/redo.h"
#include "sandbox/oci/server_files.h"
#include "sandbox/oci/statements.h"
#include "sandbox/paths.h"

namespace sandbox::oci {

namespace {

// Reads the words of a command one after the other.
class reader_t {
  public:
    explicit reader_t(const std::vector<token_t>& tokens) : m_tokens(tokens) {}

    bool take(const char* word) {
        if (at_end() || !m_tokens[m_next].is(word)) {
            return false;
        }
        ++m_next;
        return true;
    }

    std::string text() {
        if (at_end() || m_tokens[m_next].kind != token_t::kind_t::text) {
            fail(922, "missing or invalid option");
        }
        return m_tokens[m_next++].text;
    }

    std::string name() {
        using kind_t = token_t::kind_t;
        if (at_end() ||
            (m_tokens[m_next].kind != kind_t::word && m_tokens[m_next].kind != kind_t::quoted)) {
            fail(903, "invalid table name");
        }
        return m_tokens[m_next++].upper;
    }

    void end() const {
        if (!at_end()) {
            fail(933, "SQL command not properly ended");
        }
    }

  private:
    bool at_end() const { return m_next >= m_tokens.size(); }

    const std::vector<token_t>& m_tokens;
    std::size_t m_next = 0;
};

void enter(const execution_t& execution, state_t state, bool read_only = false) {
    transaction_t transaction(execution.instance.database);
    enter_state(execution.instance.database, state, read_only);
    transaction.commit();
}

void require_database(const execution_t& execution) {
    if (execution.instance.is_asm) {
        fail(15000, "command disallowed by current instance type");
    }
    if (!execution.identity.sysdba) {
        fail(1031, "insufficient privileges");
    }
}

void mount(const execution_t& execution, reader_t& reader) {
    reader.end();
    require_database(execution);
    if (execution.status.state != state_t::started) {
        fail(1100, "database already mounted");
    }
    if (execution.status.closed) {
        fail(750, "database has been previously mounted and dismounted");
    }
    enter(execution, state_t::mounted);
}

void open(const execution_t& execution, reader_t& reader) {
    bool read_only = false;
    if (reader.take("READ")) {
        read_only = reader.take("ONLY");
        if (!read_only && !reader.take("WRITE")) {
            fail(2288, "invalid OPEN mode");
        }
    }
    reader.end();
    require_database(execution);
    if (execution.status.state == state_t::started) {
        fail(1507, "database not mounted");
    }
    if (execution.status.state == state_t::open) {
        fail(1531, "a database already open by the instance");
    }
    if (execution.status.closed) {
        fail(16196, "database has been previously opened and closed");
    }
    refuse_in_backup_mode(execution, 10873, "",
                          " needs to be either taken out of backup mode or media recovered");
    enter(execution, state_t::open, read_only);
}

void close(const execution_t& execution, reader_t& reader) {
    reader.take("NORMAL");
    reader.end();
    require_database(execution);
    if (execution.status.state == state_t::started) {
        fail(1507, "database not mounted");
    }
    if (execution.status.state == state_t::mounted) {
        fail(1109, "database not open");
    }
    refuse_in_backup_mode(execution, 1149, "cannot shutdown - ", " has online backup set");
    enter(execution, state_t::mounted);
    execution.instance.database.execute("UPDATE sandbox_instance SET closed = 1");
}

void dismount(const execution_t& execution, reader_t& reader) {
    reader.end();
    require_database(execution);
    if (execution.status.state == state_t::started) {
        fail(1507, "database not mounted");
    }
    if (execution.status.state == state_t::open) {
        fail(1126, "database must be mounted in this instance and not open in any instance");
    }
    enter(execution, state_t::started);
    execution.instance.database.execute("UPDATE sandbox_instance SET closed = 1");
}

void create_pfile(const execution_t& execution, reader_t& reader) {
    if (!reader.take("=")) {
        fail(922, "missing or invalid option");
    }
    const std::string path = reader.text();
    const bool from = reader.take("FROM");
    const bool memory = from && execution.instance.major >= 11 && reader.take("MEMORY");
    if (!from || (!memory && !reader.take("SPFILE"))) {
        fail(922, "missing or invalid option");
    }
    reader.end();
    if (!execution.identity.sysdba) {
        fail(1031, "insufficient privileges");
    }
    write_pfile(execution.instance, path, memory);
}

void require_dictionary(const execution_t& execution) {
    if (execution.status.state != state_t::open) {
        fail(1109, "database not open");
    }
    if (execution.status.read_only) {
        fail(16000, "database or pluggable database open for read-only access");
    }
}

void create_directory(const execution_t& execution, reader_t& reader, bool replace) {
    const std::string name = reader.name();
    if (!reader.take("AS")) {
        fail(922, "missing or invalid option");
    }
    const std::string path = reader.text();
    reader.end();
    require_dictionary(execution);
    constexpr std::size_t longest_name = 30;
    if (name.size() > longest_name && execution.instance.major < 18) {
        fail(972, "identifier is too long");
    }
    transaction_t transaction(execution.instance.database);
    if (replace) {
        query_t(execution.instance.database, "DELETE FROM DBA_DIRECTORIES WHERE DIRECTORY_NAME = ?")
            .bind(1, name)
            .run();
    } else if (has_directory(execution.instance, name)) {
        fail(955, "name is already used by an existing object");
    }
    query_t(execution.instance.database,
            "INSERT INTO DBA_DIRECTORIES(DIRECTORY_NAME, DIRECTORY_PATH) VALUES(?, ?)")
        .bind(1, name)
        .bind(2, path)
        .run();
    transaction.commit();
}

void drop_directory(const execution_t& execution, reader_t& reader) {
    const std::string name = reader.name();
    reader.end();
    require_dictionary(execution);
    transaction_t transaction(execution.instance.database);
    if (!has_directory(execution.instance, name)) {
        fail(4043, "object " + name + " does not exist");
    }
    query_t(execution.instance.database, "DELETE FROM DBA_DIRECTORIES WHERE DIRECTORY_NAME = ?")
        .bind(1, name)
        .run();
    transaction.commit();
}

void alter_pdb(const execution_t& execution, reader_t& reader) {
    const std::string name = reader.name();
    std::string mode = "READ WRITE";
    const bool closes = reader.take("CLOSE");
    if (closes) {
        reader.take("IMMEDIATE");
        mode = "MOUNTED";
    } else if (!reader.take("OPEN")) {
        fail(922, "missing or invalid option");
    } else if (reader.take("READ")) {
        mode = reader.take("ONLY") ? "READ ONLY" : reader.take("WRITE") ? "READ WRITE" : "";
    } else if (reader.take("UPGRADE")) {
        mode = "MIGRATE";
    }
    const bool force = reader.take("FORCE");
    reader.end();
    if (mode.empty()) {
        fail(922, "missing or invalid option");
    }
    require_database(execution);
    if (execution.status.state != state_t::open) {
        fail(1109, "database not open");
    }
    transaction_t transaction(execution.instance.database);
    query_t pdb(execution.instance.database, "SELECT mode FROM sandbox_pdb WHERE name = ?");
    pdb.bind(1, name);
    if (!pdb.step()) {
        fail(65011, "Pluggable database " + name + " does not exist.");
    }
    const bool is_mounted = pdb.text(0) == "MOUNTED";
    if (closes && is_mounted) {
        fail(65020, "pluggable database " + name + " already closed");
    }
    if (!closes && !is_mounted && !force) {
        fail(65019, "pluggable database " + name + " already open");
    }
    pdb.reset();
    query_t(execution.instance.database, "UPDATE sandbox_pdb SET mode = ? WHERE name = ?")
        .bind(1, mode)
        .bind(2, name)
        .run();
    transaction.commit();
}

template <void (*Run)(const execution_t&)>
void whole(const execution_t& execution, reader_t& reader) {
    reader.end();
    if (!execution.identity.sysdba) {
        fail(1031, "insufficient privileges");
    }
    Run(execution);
}

struct command_t {
    std::vector<const char*> words;
    void (*run)(const execution_t&, reader_t&);
};

const command_t commands[] = {
    {{"ALTER", "DATABASE", "MOUNT"}, mount},
    {{"ALTER", "DATABASE", "OPEN"}, open},
    {{"ALTER", "DATABASE", "CLOSE"}, close},
    {{"ALTER", "DATABASE", "DISMOUNT"}, dismount},
    {{"ALTER", "DATABASE", "BEGIN", "BACKUP"}, whole<begin_backup>},
    {{"ALTER", "DATABASE", "END", "BACKUP"}, whole<end_backup>},
    {{"ALTER", "SYSTEM", "ARCHIVE", "LOG", "ALL"}, whole<archive_all>},
    {{"ALTER", "SYSTEM", "ARCHIVE", "LOG", "CURRENT"}, whole<switch_log>},
    {{"ALTER", "PLUGGABLE", "DATABASE"}, alter_pdb},
    {{"CREATE", "PFILE"}, create_pfile},
    {{"CREATE", "DIRECTORY"},
     [](const execution_t& e, reader_t& r) { create_directory(e, r, false); }},
    {{"CREATE", "OR", "REPLACE", "DIRECTORY"},
     [](const execution_t& e, reader_t& r) { create_directory(e, r, true); }},
    {{"DROP", "DIRECTORY"}, drop_directory},
};

}  // namespace

void run_command(const execution_t& execution) {
    for (const command_t& command : commands) {
        reader_t reader(execution.statement.tokens);
        if (std::all_of(command.words.begin(), command.words.end(),
                        [&](const char* word) { return reader.take(word); })) {
            command.run(execution, reader);
            return;
        }
    }
    fail(900, "invalid SQL statement");
}

}  // namespace sandbox::oci
