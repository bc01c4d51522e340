// Sessions, queries and the files that only the database reaches, straight at the classes.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <set>

#include <boost/make_shared.hpp>

#include "machine.h"
#include "oracle/connect/errors.h"
#include "oracle/connect/file_remover.h"
#include "oracle/connect/server_files.h"
#include "oracle/connect/session_holder.h"
#include "oracle/connect/sql_text.h"
#include "oracle/connect/status.h"
#include "oracle/discovery/db_queries.h"
#include "sandbox/builder.h"
#include "support/exc/rethrow.h"

namespace {

using namespace specific::oracle;

class Connect : public testing::Test {
  protected:
    Connect() : folder(machine.folder), server(folder) {
        std::filesystem::create_directories(machine.find("C:\\temp"));
        home.path = "C:\\app\\oracle";
        home.name = "Home";
        home.base = "C:\\app";
        server.add_home(home);
    }

    void add(const std::string& sid, const std::string& version = "19.0.0.0.0",
             sandbox::state_t state = sandbox::state_t::open) {
        sandbox::instance_t instance;
        instance.sid = sid;
        instance.version = version;
        instance.state = state;
        instance.users = {{"plain", "secret", false}};
        server.add_instance(home, instance);
        server.write();
    }

    static boost::shared_ptr<COracleSessionHolder> connect(const wchar_t* sid,
                                                           bool prelim = false) {
        return boost::make_shared<COracleSessionHolder>(sid, L"C:\\app\\oracle",
                                                        SOracleCredentials(), prelim);
    }

    machine_t machine;
    const std::filesystem::path& folder;
    sandbox::server_t server;
    sandbox::home_t home;
};

template <typename Body>
std::uint32_t ora_of(const Body& body) {
    try {
        body();
    } catch (const COracleExc& e) {
        return e.code();
    }
    return 0;
}

TEST_F(Connect, RowsAsTheyArrive) {
    add("ORCL");
    const auto holder = connect(L"ORCL");
    const auto query = holder->get_session()->query();
    EXPECT_EQ(query->exec_value("SELECT 'MiXed' FROM DUAL", false), L"MiXed");
    EXPECT_EQ(query->exec_value("SELECT 'MiXed' FROM DUAL", true), L"MIXED");
    EXPECT_EQ(query->exec_value("SELECT NAME FROM V$DATAFILE WHERE NAME = 'none'", false), L"");
    EXPECT_TRUE(query->exec_row("SELECT NAME, BYTES FROM V$DATAFILE WHERE 1 = 0", 2, true).empty());

    sandbox::run_sql(
        folder, "ORCL",
        "CREATE TABLE T(A, B); INSERT INTO T VALUES ('1', NULL), ('2', 'b'), ('3', ''), "
        "('4', substr(quote(zeroblob(600)), 1, 1100)), ('5', 'e')");
    const auto result = query->exec("SELECT A, B FROM T ORDER BY A", 2, false);
    row_t row;
    std::wstring kept;
    while (result->next(row)) {
        kept += row.at(0);
    }
    EXPECT_EQ(kept, L"25") << "rows with a NULL, with '' and with an overlong value are dropped";
    EXPECT_EQ(row.at(1), L"e") << "left alone at the end";
    // An answer that is cut short by an error ends as if there were no more.
    for (const auto& [fault, expected] : {std::pair{sandbox::ora("OCIStmtFetch2", 1406, 2), L"25"},
                                          std::pair{sandbox::ora("OCIStmtFetch2", 1555, 3), L"2"},
                                          std::pair{sandbox::ora("OCIStmtFetch2", 1406, 0), L""}}) {
        sandbox::set_fault(folder, "ORCL", fault);
        const auto again = connect(L"ORCL");
        const auto cut =
            again->get_session()->query()->exec("SELECT A, B FROM T ORDER BY A", 2, false);
        kept.clear();
        while (cut->next(row)) {
            kept += row.at(0);
        }
        EXPECT_EQ(kept, expected) << fault.value << " " << fault.nth;
        sandbox::clear_faults(folder);
    }

    EXPECT_NO_THROW(query->exec_command("CREATE DIRECTORY D AS 'C:\\temp'"))
        << "the fetch after a command fails, and that is no failure";
}

TEST_F(Connect, ABadStatementNamesItself) {
    add("ORCL");
    const auto holder = connect(L"ORCL");
    const auto query = holder->get_session()->query();
    try {
        query->exec("SELECT MISSPELT FROM V$DATABASE", 1, true);
        ADD_FAILURE();
    } catch (const COracleExc& e) {
        EXPECT_EQ(e.code(), 904u);
        EXPECT_NE(std::string(e.what()).find(
                      "--tr:Failed to exec query [SELECT MISSPELT FROM V$DATABASE]."),
                  std::string::npos);
    }
}

TEST_F(Connect, StatusValues) {
    add("ORCL");
    const auto session = connect(L"ORCL")->get_session();
    const auto env = COracleEnv::create();
    for (const sword good : {0, 1, 100}) {
        EXPECT_EQ(env->check(good), 0u);
    }
    try {
        env->check(-2);
        ADD_FAILURE();
    } catch (const COracleExc&) {
        ADD_FAILURE() << "an unexpected status is not Oracle's word";
    } catch (const exc::runtime_exc_t& e) {
        EXPECT_STREQ(e.what(), "Unexpected Oracle error has occurred. Code: 4294967294");
        EXPECT_EQ(e.code(), 0u);
    }
    EXPECT_EQ(env->check(-1), 0u) << "an error without a record";
}

// The server writes in a character set that the code page does not know.
TEST_F(Connect, AnErrorWhoseTextCannotBeDecodedKeepsItsNumber) {
    if (!machine_t::is_layered()) {
        GTEST_SKIP() << "every byte of 1252, the code page there, can be decoded";
    }
    add("ORCL");
    machine.write_host("[host]\nansi_code_page=65001\n");
    sandbox::set_fault(folder, "ORCL",
                       {"OCIServerAttach", 1, sandbox::fault_kind::ora, 12560,
                        "ORA-12560: \xc3\xa9t\xe9, \xe2\x82\xac\xe2\x82"});
    try {
        connect(L"ORCL");
        ADD_FAILURE();
    } catch (const COracleExc& e) {
        EXPECT_EQ(e.code(), 12560u);
        EXPECT_NE(std::string(e.what()).find("ORA-12560: \xc3\xa9t?, \xe2\x82\xac??"),
                  std::string::npos)
            << e.what();
    }
}

TEST_F(Connect, AnEnvironmentThatFailedIsFreed) {
    add("ORCL");
    sandbox::set_fault(folder, "ORCL", {"OCIEnvCreate", 1, sandbox::fault_kind::env_left, 0, ""});
    EXPECT_THROW(connect(L"ORCL"), exc::runtime_exc_t);
    std::string calls;
    for (const sandbox::record_t& record : sandbox::read_journal(folder)) {
        calls += record.entry + " ";
    }
    EXPECT_EQ(calls, "OCIEnvCreate OCIHandleFree ");
}

// The session of a logon with a warning is not set yet; a start-up runs no query that would set it.
TEST_F(Connect, APasswordAboutToExpireStartsAndStops) {
    sandbox::instance_t expiring;
    expiring.sid = "ORCL";
    expiring.state = sandbox::state_t::down;
    expiring.users = {{"dba", "secret", true, true}};
    server.add_instance(home, expiring);
    server.write();
    const std::string password = "secret";
    const SOracleCredentials dba{"dba", {password.begin(), password.end()}};
    COracleSessionHolder(L"ORCL", L"C:\\app\\oracle", dba, true).get_session()->startup();
    EXPECT_EQ(sandbox::get_state(folder, "ORCL"), sandbox::state_t::started);
    sandbox::set_state(folder, "ORCL", sandbox::state_t::open);
    COracleSessionHolder(L"ORCL", L"C:\\app\\oracle", dba, false).get_session()->shutdown();
    EXPECT_EQ(sandbox::get_state(folder, "ORCL"), sandbox::state_t::down);
}

TEST_F(Connect, AFailureKeepsItsTypeAcrossThreadsButForOne) {
    const auto as_captured = [](const auto& failure) { return exc::capture_exception(failure); };
    EXPECT_THROW(as_captured(COracleInitTimeoutExc("t"))->rethrow(), COracleInitTimeoutExc);
    EXPECT_THROW(as_captured(COracleStatusQueryTimeoutExc("t"))->rethrow(),
                 COracleStatusQueryTimeoutExc);
    EXPECT_EQ(ora_of([&] { as_captured(COracleExc("t", 1034))->rethrow(); }), 1034u);
    try {
        as_captured(COracleSessionCreateExc("t"))->rethrow();
    } catch (const COracleSessionCreateExc&) {
        ADD_FAILURE();
    } catch (const exc::runtime_exc_t& e) {
        EXPECT_STREQ(e.what(), "t");
    }
}

TEST_F(Connect, TheReleaseDecides) {
    const struct {
        const char* sid;
        const wchar_t* wide;
        const char* version;
        bool later;
        bool before;
    } rows[] = {{"A", L"A", "19.0.0.0.0", true, false},
                {"B", L"B", "11.2.0.4.0", false, false},
                {"C", L"C", "10.2.0.1.0", false, true},
                {"D", L"D", "12.1.0.2.0", true, false}};
    for (const auto& row : rows) {
        add(row.sid, row.version);
        const auto session = connect(row.wide)->get_session();
        EXPECT_EQ(session->is_12_or_later(), row.later) << row.version;
        EXPECT_EQ(session->is_before_11(), row.before) << row.version;
    }
    add("DOWN", "19.0.0.0.0", sandbox::state_t::down);
    const auto session = connect(L"DOWN")->get_session();
    EXPECT_TRUE(session->not_started());
    EXPECT_FALSE(session->is_12_or_later() || session->is_before_11());
}

TEST_F(Connect, FromDownToOpenAndBack) {
    add("ORCL", "19.0.0.0.0", sandbox::state_t::down);
    connect(L"ORCL", true)->get_session()->startup();
    EXPECT_EQ(sandbox::get_state(folder, "ORCL"), sandbox::state_t::started);
    {
        const auto holder = connect(L"ORCL");
        boost::shared_ptr<exc::exc_base_t> slot;
        EXPECT_FALSE(is_instance_open(slot, holder->get_session(), false));
        EXPECT_TRUE(is_instance_open(slot, holder->get_session(), true));
        holder->get_session()->mount_and_open();
        EXPECT_TRUE(is_instance_open(slot, holder->get_session(), false));
        EXPECT_TRUE(is_db_active(slot, holder->get_session()));
        holder->get_session()->shutdown();
    }
    EXPECT_EQ(sandbox::get_state(folder, "ORCL"), sandbox::state_t::down);
    EXPECT_EQ(ora_of([&] { connect(L"NOSUCH"); }), 12560u);
}

TEST_F(Connect, FilesThroughTheDatabase) {
    add("ORCL");
    const auto session = connect(L"ORCL")->get_session();
    const auto in_asm = sandbox::native_path(folder, "+DATA/log.1");
    std::filesystem::create_directories(in_asm.parent_path());
    server.add_file("+DATA/log.1", std::string(1024, 'x'));
    EXPECT_TRUE(asm_file_exists(*session, "+DATA/log.1"));
    EXPECT_FALSE(asm_file_exists(*session, "+DATA/absent"));
    std::filesystem::create_directories(machine.find("C:\\Bob's"));
    copy_asm_file(*session, "+DATA/log.1", "C:\\Bob's\\a'b");
    remove_file_with_query(*session, L"C:\\Bob's\\a'b");
    EXPECT_TRUE(std::filesystem::is_empty(machine.find("C:\\Bob's")));
    copy_asm_file(*session, "+DATA/log.1", "C:\\temp\\copy");
    EXPECT_EQ(std::filesystem::file_size(machine.find("C:\\temp\\copy")), 1024u);

    sandbox::clear_journal(folder);
    EXPECT_NE(ora_of([&] { copy_asm_file(*session, "+DATA/absent", "C:\\temp\\x"); }), 0u);
    for (const std::string& statement : sandbox::executed_statements(folder)) {
        EXPECT_EQ(statement.find("DROP DIRECTORY"), std::string::npos);
    }
    remove_file_with_query(*session, L"C:\\temp\\copy");
    EXPECT_FALSE(std::filesystem::exists(machine.find("C:\\temp\\copy")));

    for (const auto& [path, is_asm] :
         {std::pair{L"+DATA/X", true}, std::pair{L"C:\\+X", false}, std::pair{L"", false}}) {
        EXPECT_EQ(is_asm_path(path), is_asm);
    }
    std::set<std::string> names;
    for (int i = 0; i < 100; ++i) {
        const std::string name = make_directory_name();
        EXPECT_EQ(name.size(), 26u);
        EXPECT_EQ(name.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_"),
                  std::string::npos);
        names.insert(name);
    }
    EXPECT_EQ(names.size(), 100u);
}

TEST(SqlText, StaysWhatItIs) {
    EXPECT_EQ(sql_literal("C:\\Bob's '"), "C:\\Bob''s ''");
    EXPECT_EQ(sql_identifier("Sales $1'"), "Sales $1'");
    for (const std::string& hostile : {std::string("A\" OPEN; --"), std::string("A\nB"),
                                       std::string("A\0B", 3), std::string("\x7f")}) {
        EXPECT_THROW(sql_identifier(hostile), exc::runtime_exc_t) << hostile;
    }
    for (const char* number : {"0", "42", "+42", "-42", " 42 ", " - 42", "18446744073709551616"}) {
        EXPECT_EQ(sql_number(number), number);
    }
    for (const char* hostile : {"", " ", "+", "- ", "+-1", "1 1", "1.5", "1e3", "0x1", "1\t", "1;",
                                "1 OR 1=1", "1 --", "\xb2", "1\n"}) {
        EXPECT_THROW(sql_number(hostile), exc::runtime_exc_t) << hostile;
    }
}

TEST_F(Connect, QuestionsThatOthersShare) {
    add("ORCL");
    const auto session = connect(L"ORCL")->get_session();
    std::wstring scn;
    std::wstring time;
    GetCheckpointInfo(session, scn, time);
    const std::string lowest =
        sandbox::query_sql(folder, "ORCL", "SELECT min([CHECKPOINT_CHANGE#]) FROM V$DATAFILE");
    EXPECT_EQ(std::string(scn.begin(), scn.end()), lowest);
    EXPECT_EQ(time.size(), 19u) << "yyyy/mm/dd hh24:mi:ss";
    std::wstring rec_id = L"kept";
    std::wstring stamp = L"kept";
    GetFirstNeededLogRecord(session, rec_id, stamp);
    EXPECT_EQ(rec_id, L"kept");
    EXPECT_EQ(GetLastLogSequence(session), L"");
    EXPECT_FALSE(IsContainerDb(session));
}

}  // namespace
