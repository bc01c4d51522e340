// Texts that somebody else chooses: they change what the module tells, never what it does.
#include <cctype>
#include <map>
#include <regex>
#include <set>

#include "road/road.h"

namespace road {
namespace {

namespace fs = std::filesystem;

// A statement with a mark in the place of each literal, quoted name and number, and of the names
// that the module gives its directory objects.
std::string shape(const std::string& text) {
    static const std::regex own_name("D_[0-9A-F_]{20,}");
    const std::string sql = std::regex_replace(text, own_name, "<own>");
    std::string result;
    for (std::size_t i = 0; i < sql.size(); ++i) {
        const char c = sql[i];
        if (c == '\'' || c == '"') {
            std::size_t end = sql.find(c, i + 1);
            while (c == '\'' && end != sql.npos && sql.compare(end, 2, "''") == 0) {
                end = sql.find(c, end + 2);
            }
            result += c == '"' ? "<name>" : "<text>";
            i = std::min(end, sql.size());
        } else if (std::isdigit(static_cast<unsigned char>(c))) {
            while (i + 1 < sql.size() && std::isdigit(static_cast<unsigned char>(sql[i + 1]))) {
                ++i;
            }
            result += '0';
        } else {
            result += c;
        }
    }
    return result;
}

class Hostile : public Road {
  protected:
    Hostile() {
        server.add_home(home19());
        set("OracleRestoreWaitInSec", 0u);
        set("OracleWaitDbStartedAttemptCount", 1u);
        set("OracleStageLogsBeforeBackup", 1u);
        sandbox::instance_t made = instance("ORCL");
        made.pdbs.resize(1);
        made.pdbs[0].name = "SALES";
        made.recovery_area = "+FRA";
        made.archive_folder = "C:\\oradata\\ORCL\\archive";
        made.archived_logs.resize(2);
        made.archived_logs[1].name = "+FRA/ORCL/ARCHIVELOG/ARC2";
        made.restore_points.push_back({"BEFORE", true});
        made.users.push_back({"KEEPER", distinctive_password, true, false});
        server.add_instance(home19(), made);
        sandbox::instance_t storage = instance("+ASM");
        storage.is_asm = true;
        storage.asm_groups.push_back({"FRA", {{"C:\\disks\\one", "ONLINE"}}});
        server.add_instance(home19(), storage);
        write();
        expect_in_log("");  // what is told of each text is its own matter
    }

    // All that a host does in a night, and on the restored machine.
    void run_all(module_t& module, const std::string& position = "1") {
        const std::string config = "<config><dbrecids><db sid=\"ORCL\" recId=\"" + position +
                                   position + "\" stamp=\"" + position +
                                   "\" firstPassRecId=\"1\"/></dbrecids></config>";
        module.explore(config, true, "KEEPER", distinctive_password);
        const answer_t prepared = module.prepare(config, "KEEPER", distinctive_password);
        module.restore();
        module.finish(prepared.result, "KEEPER", distinctive_password);
        const std::string home = home19().path;
        const answer_t list =
            module.backup_logs(home, "ORCL", position, position, "KEEPER", distinctive_password);
        module.enum_logs();
        module.remove_logs(list.result);
    }

    std::set<std::string> shapes() const {
        std::set<std::string> result;
        for (const std::string& sql : sandbox::executed_statements(folder)) {
            result.insert(shape(sql));
        }
        return result;
    }

    // What lies on the drive outside the folders that the module and the archiver write to.
    std::map<std::string, std::string> files() const {
        std::map<std::string, std::string> result;
        for (const char* const place : {"oradata", "Windows", "app", "Other"}) {
            if (!fs::exists(machine.drive() / place)) {
                continue;
            }
            for (const auto& entry : fs::recursive_directory_iterator(
                     machine.drive() / place, fs::directory_options::skip_permission_denied)) {
                const std::string path = entry.path().u8string();
                if (entry.is_regular_file() && path.find("archive") == path.npos &&
                    path.find("Temp") == path.npos && path.find("init") == path.npos) {
                    result[path] = machine_t::is_layered() ? read_file(entry.path()) : "";
                }
            }
        }
        return result;
    }

    void set_text(const std::string& table, const std::string& column, const std::string& text) {
        std::string literal;
        for (const char c : text) {
            literal += c == '\'' ? std::string("''") : std::string(1, c);
        }
        sandbox::run_sql(folder, "ORCL",
                         "CREATE TABLE kept AS SELECT rowid AS id, " + column + " AS was FROM " +
                             table + "; UPDATE " + table + " SET " + column + " = '" + literal +
                             "'");
    }
    void reset_text(const std::string& table, const std::string& column) {
        sandbox::run_sql(folder, "ORCL",
                         "UPDATE " + table + " SET " + column +
                             " = (SELECT was FROM kept WHERE id = " + table +
                             ".rowid) WHERE rowid IN (SELECT id FROM kept); DROP TABLE kept");
    }
};

TEST_F(Hostile, TextsChangeWhatIsToldAndNothingElse) {
    const std::string victim = "C:\\Other\\precious.dll";
    fs::create_directories(machine.find("C:\\Other"));
    write_file(machine.find(victim), "precious");
    const std::string everything =
        "x' UNION SELECT NAME FROM V$DATABASE --\" OPEN; DROP DIRECTORY A; --\nFinish dbs backup\n"
        "&#10;<a conn='x'>]]>%1%2%n..\\..\\Other\x01\x1b[2J";
    const std::vector<std::string> texts =
        machine_t::is_layered()
            ? std::vector<std::string>{"x' UNION SELECT NAME FROM V$DATABASE --",
                                       "'; DROP TABLE T; --",
                                       "''",
                                       "'",
                                       "X\" OPEN; --",
                                       "\"",
                                       "a\nALTER DATABASE END BACKUP\n",
                                       victim,
                                       "..\\..\\..\\Other\\precious.dll",
                                       "+A'/..\\..\\x",
                                       "%1 %2 %n",
                                       "<a conn='x'>&#10;]]>",
                                       "\x01\x1b[2J\x7F",
                                       std::string(1023, '\''),
                                       std::string(3000, 'x'),
                                       everything}
            : std::vector<std::string>{everything, victim};
    const std::pair<const char*, const char*> places[] = {
        {"sandbox_pdb", "name"},        {"sandbox_pdb", "mode"},
        {"sandbox_instance", "name"},   {"sandbox_instance", "unique_name"},
        {"sandbox_instance", "domain"}, {"sandbox_datafile", "name"},
        {"[V$TEMPFILE]", "NAME"},       {"[V$CONTROLFILE]", "NAME"},
        {"[V$LOGFILE]", "MEMBER"},      {"[V$ARCHIVED_LOG]", "NAME"},
        {"[V$ARCHIVED_LOG]", "RECID"},  {"[V$ARCHIVED_LOG]", "[SEQUENCE#]"},
        {"[V$PARAMETER]", "VALUE"},     {"[V$RECOVERY_FILE_DEST]", "NAME"},
        {"[V$RESTORE_POINT]", "NAME"},  {"[V$VERSION]", "BANNER"},
    };
    module_t module;
    ASSERT_EQ(module.init(log_name).code, ORALIB_OK);
    run_all(module);
    module.delete_logs_by_size(home19().path, "ORCL", 0, "KEEPER", distinctive_password);
    std::set<std::string> usual = shapes();
    for (const char* const mode : {"READ ONLY", "READ WRITE", "UPGRADE"}) {
        usual.insert(std::string("ALTER PLUGGABLE DATABASE <name> OPEN ") + mode);
    }
    ASSERT_GT(usual.size(), 30u);
    const auto files_before = files();
    const auto check = [&] {
        EXPECT_TRUE(files() == files_before);
        // It is Oracle that deletes what its own catalogue names.
        module.delete_logs_by_size(home19().path, "ORCL", 0, "KEEPER", distinctive_password);
        write_file(machine.find(victim), "precious");
        for (const std::string& made : shapes()) {
            EXPECT_EQ(usual.count(made), 1u) << made;
        }
        sandbox::clear_journal(folder);
    };
    for (const std::string& text : texts) {
        for (const auto& [table, column] : places) {
            SCOPED_TRACE(std::string(table) + "." + column + " = " + text);
            set_text(table, column, text);
            run_all(module);
            check();
            reset_text(table, column);
        }
        SCOPED_TRACE(text);
        sandbox::set_fault(folder, "ORCL",
                           {"SELECT %", 0, sandbox::fault_kind::ora, 600, "ORA-00600: " + text});
        run_all(module);
        check();
        sandbox::clear_faults(folder);
    }
    for (const char* const position : {"1 OR 1=(SELECT 1 FROM DUAL)", "1; DROP TABLE T", "0x10",
                                       "1e3", "1 1", "--1", "\xC2\xB2", "'1'"}) {
        SCOPED_TRACE(position);
        run_all(module, position);
        check();
    }
}

}  // namespace
}  // namespace road
