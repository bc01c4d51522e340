// Who gets in, what the states allow, and how strict the entry points are.
#include "tests/sandbox/fixture.h"

using client::preliminary_sysdba;
using client::session_t;
using sandbox::state_t;

namespace {

class Sessions : public SandboxTest {};

TEST_F(Sessions, LogonMatrix) {
    auto described = instance("ORCL");
    described.users = {
        {"agent", "Pw1", true}, {"reader", "Pw2", false}, {"late", "Pw3", true, true}};
    add(described);
    const auto down = state_t::down;
    const auto started = state_t::started;
    const auto open = state_t::open;
    const ub4 by_default = OCI_DEFAULT;
    const struct {
        const char* sid;
        state_t state;
        const char* user;
        const char* password;
        ub4 mode;
        int code;
    } cases[] = {
        {"NONE", open, "", "", OCI_SYSDBA, 12560},
        {"orcl", open, "", "", OCI_SYSDBA, 0},
        {"ORCL", open, "", "", by_default, 1017},
        {"ORCL", started, "", "", OCI_SYSDBA, 0},
        {"ORCL", down, "", "", OCI_SYSDBA, 1034},
        {"ORCL", down, "", "", preliminary_sysdba, 0},
        {"ORCL", open, "AGENT", "Pw1", OCI_SYSDBA, 0},
        {"ORCL", open, "agent", "pw1", OCI_SYSDBA, 1017},
        {"ORCL", open, "nobody", "Pw1", OCI_SYSDBA, 1017},
        {"ORCL", open, "agent", "", OCI_SYSDBA, 1005},
        {"ORCL", open, "reader", "Pw2", OCI_SYSDBA, 1031},
        {"ORCL", open, "reader", "Pw2", by_default, 0},
        {"ORCL", started, "reader", "Pw2", by_default, 1033},
        {"ORCL", down, "reader", "Pw2", OCI_SYSDBA, 1031},
        {"ORCL", down, "reader", "Pw2", by_default, 1034},
        {"ORCL", down, "agent", "Pw1", OCI_SYSDBA, 1034},
        {"ORCL", down, "agent", "Pw1", preliminary_sysdba, 0},
        {"ORCL", down, "agent", "Pw2", preliminary_sysdba, 1017},
        {"ORCL", down, "reader", "Pw2", preliminary_sysdba, 1031},
        {"ORCL", down, "reader", "Pw2", OCI_PRELIM_AUTH, 1031},
        {"ORCL", down, "nobody", "Pw2", OCI_PRELIM_AUTH, 1017},
        {"ORCL", down, "", "", OCI_PRELIM_AUTH, 1031},
        {"ORCL", down, "late", "Pw3", preliminary_sysdba, 28002},
        {"ORCL", open, "late", "Pw3", OCI_SYSDBA, 28002},
        {"ORCL", open, "late", "Pw3", OCI_DEFAULT, 28002},
        {"ORCL", open, "sys", "oracle", by_default, 28009},
    };
    for (const auto& entry : cases) {
        sandbox::set_state(directory, "ORCL", entry.state);
        const session_t session(entry.sid, entry.user, entry.password, entry.mode);
        EXPECT_EQ(session.code, entry.code)
            << entry.sid << " " << static_cast<int>(entry.state) << " " << entry.user << " "
            << entry.password << " " << entry.mode << "\n"
            << session.text;
        EXPECT_TRUE(session.text.empty() || session.text.back() == '\n');
    }
    sandbox::set_environment("ORACLE_HOME", "C:\\other");
    EXPECT_EQ(session_t("ORCL").code, 12560);
    sandbox::set_environment("ORACLE_HOME", home.path + "\\");
    EXPECT_EQ(session_t("ORCL", "agent", "Pw1").code, 0);
}

TEST_F(Sessions, TheThreadsAccountDecides) {
    add(instance("ORCL"));
    const auto file = directory / "run" /
                      (std::to_string(sandbox::process_id()) + "-" +
                       std::to_string(sandbox::thread_id()) + ".account");
    write_file(file, "LAB\\guest");
    EXPECT_EQ(session_t("ORCL").code, 1031);
    EXPECT_EQ(session_t("ORCL", "", "", preliminary_sysdba).code, 1031);
    write_file(file, "LAB\\backup");
    EXPECT_EQ(session_t("ORCL").code, 0);
    std::filesystem::remove(file);
    EXPECT_EQ(session_t("ORCL").code, 0);
    write_file(directory / "accounts.ini", "[process]\naccount = LAB\\guest\n");
    EXPECT_EQ(session_t("ORCL").code, 1031);
}

TEST_F(Sessions, AShutdownAndAStartAsTheLibraryDoesThem) {
    auto described = instance("ORCL");
    described.pdbs.resize(1);
    described.pdbs[0].name = "SALES";
    add(described);
    const auto state = [&] { return sandbox::get_state(directory, "ORCL"); };
    session_t other("ORCL");
    {
        session_t oracle("ORCL");
        EXPECT_EQ(oracle.run("ALTER DATABASE MOUNT"), 1100);
        EXPECT_EQ(oracle.run("ALTER DATABASE OPEN"), 1531);
        EXPECT_EQ(oracle.run("ALTER DATABASE DISMOUNT"), 1126);
        const auto shut = [&](ub4 mode) {
            return oracle.check(OCIDBShutdown(oracle.service, oracle.error, nullptr, mode));
        };
        EXPECT_EQ(shut(OCI_DBSHUTDOWN_FINAL), 1106);
        EXPECT_EQ(shut(OCI_DBSHUTDOWN_IMMEDIATE), 0);
        EXPECT_EQ(session_t("ORCL").code, 1089);
        EXPECT_EQ(oracle.run("ALTER DATABASE CLOSE NORMAL"), 0);
        EXPECT_EQ(oracle.value("SELECT OPEN_MODE FROM V$PDBS WHERE NAME='SALES'"), "MOUNTED");
        EXPECT_EQ(oracle.value("SELECT FUZZY FROM V$DATAFILE_HEADER"), "NO");
        EXPECT_EQ(oracle.run("ALTER DATABASE CLOSE NORMAL"), 1109);
        EXPECT_EQ(oracle.run("ALTER DATABASE OPEN"), 16196);
        EXPECT_EQ(oracle.run("ALTER DATABASE DISMOUNT"), 0);
        EXPECT_EQ(oracle.run("ALTER DATABASE OPEN"), 1507);
        EXPECT_EQ(shut(OCI_DBSHUTDOWN_FINAL), 0);
        EXPECT_EQ(state(), state_t::down);
        EXPECT_EQ(oracle.run("ALTER DATABASE MOUNT"), 3113);
    }
    const auto start = [](session_t& session) {
        return session.check(OCIDBStartup(session.service, session.error, nullptr, OCI_DEFAULT, 0));
    };
    {
        session_t idle("ORCL", "", "", preliminary_sysdba);
        EXPECT_EQ(idle.run("ALTER DATABASE MOUNT"), 1012);
        EXPECT_EQ(start(idle), 0);
        EXPECT_EQ(start(idle), 1081);
        EXPECT_EQ(state(), state_t::started);
    }
    EXPECT_EQ(other.value("SELECT STATUS FROM V$INSTANCE"), "(none)");
    EXPECT_EQ(other.code, 3113);
    session_t oracle("ORCL");
    EXPECT_EQ(start(oracle), 1081);
    EXPECT_EQ(oracle.run("ALTER DATABASE MOUNT"), 0);
    EXPECT_EQ(oracle.run("ALTER DATABASE OPEN READ ONLY"), 0);
    EXPECT_EQ(oracle.value("SELECT OPEN_MODE FROM V$DATABASE"), "READ ONLY");
    EXPECT_EQ(oracle.run("CREATE DIRECTORY D AS 'C:\\'"), 16000);
    sandbox::set_state(directory, "ORCL", state_t::mounted);
    session_t user("ORCL", "system", "manager", OCI_SYSDBA);
    EXPECT_EQ(user.code, 1031);
    sandbox::set_state(directory, "ORCL", state_t::open);
    session_t plain("ORCL", "system", "manager", OCI_DEFAULT);
    EXPECT_EQ(start(plain), 1031);
    EXPECT_EQ(
        plain.check(OCIDBShutdown(plain.service, plain.error, nullptr, OCI_DBSHUTDOWN_IMMEDIATE)),
        1031);
    sandbox::set_state(directory, "ORCL", state_t::mounted);
    EXPECT_EQ(oracle.run("CREATE DIRECTORY D AS 'C:\\'"), 1109);

    sandbox::set_state(directory, "ORCL", state_t::down);
    std::filesystem::remove(
        sandbox::native_path(directory, home.path + "\\database\\SPFILEORCL.ORA"));
    session_t idle("ORCL", "", "", preliminary_sysdba);
    EXPECT_EQ(start(idle), 1078);
}

TEST_F(Sessions, HandlesAndOrderAreChecked) {
    add(instance("ORCL"));
    session_t oracle("ORCL");
    auto* const error = oracle.error;
    void* handle = nullptr;
    EXPECT_EQ(OCIHandleAlloc(oracle.error, &handle, OCI_HTYPE_STMT, 0, nullptr), -2);
    EXPECT_EQ(OCIHandleAlloc(oracle.env, &handle, OCI_HTYPE_DEFINE, 0, nullptr), -2);
    EXPECT_EQ(OCIHandleFree(oracle.server, OCI_HTYPE_SESSION), -2);
    EXPECT_EQ(OCIHandleFree(nullptr, OCI_HTYPE_STMT), -2);
    EXPECT_EQ(OCIAttrSet(oracle.service, OCI_HTYPE_SVCCTX, oracle.error, 0, OCI_ATTR_SERVER, error),
              -2);
    OCIAttrSet(oracle.service, OCI_HTYPE_SVCCTX, oracle.server, 0, OCI_ATTR_SERVER, error);
    EXPECT_EQ(oracle.check(OCIAttrSet(oracle.server, OCI_HTYPE_SERVER, error, 0, 99, error)),
              24315);
    EXPECT_EQ(oracle.check(OCIServerAttach(oracle.server, error, nullptr, 0, 0)), 24309);
    EXPECT_EQ(oracle.check(
                  OCISessionBegin(oracle.service, error, oracle.session, OCI_CRED_EXT, OCI_SYSDBA)),
              24313);
    auto* fresh = oracle.alloc<OCISvcCtx>(OCI_HTYPE_SVCCTX);
    auto* session = oracle.alloc<OCISession>(OCI_HTYPE_SESSION);
    EXPECT_EQ(oracle.check(OCISessionBegin(fresh, error, session, OCI_CRED_EXT, OCI_SYSDBA)),
              24327);
    OCIHandleFree(session, OCI_HTYPE_SESSION);

    auto* statement = oracle.alloc<OCIStmt>(OCI_HTYPE_STMT);
    const auto execute = [&](OCISvcCtx* service, ub4 count) {
        return oracle.check(
            OCIStmtExecute(service, statement, error, count, 0, nullptr, nullptr, OCI_DEFAULT));
    };
    const auto fetch = [&] {
        return oracle.check(OCIStmtFetch2(statement, error, 1, OCI_FETCH_NEXT, 0, OCI_DEFAULT));
    };
    const auto prepare = [&](const std::string& text) {
        return OCIStmtPrepare(statement, error, reinterpret_cast<const OraText*>(text.c_str()),
                              static_cast<ub4>(text.size()), OCI_NTV_SYNTAX, OCI_DEFAULT);
    };
    EXPECT_EQ(execute(oracle.service, 0), 24337);
    EXPECT_EQ(fetch(), 24338);
    prepare("SELECT NAME, 'x', BYTES FROM V$DATAFILE WHERE FILE# < 3");
    char text[8];
    sb2 indicator = 7;
    ub2 length = 0;
    ub2 code = 0;
    OCIDefine* define = nullptr;
    const auto define_at = [&](ub4 position) {
        return oracle.check(OCIDefineByPos(statement, &define, error, position, text, sizeof(text),
                                           SQLT_STR, &indicator, &length, &code, OCI_DEFAULT));
    };
    EXPECT_EQ(define_at(0), 24334);
    EXPECT_EQ(execute(fresh, 0), 1012);
    OCIAttrSet(fresh, OCI_HTYPE_SVCCTX, oracle.server, 0, OCI_ATTR_SERVER, error);
    EXPECT_EQ(execute(fresh, 0), 1012);
    EXPECT_EQ(oracle.check(OCIDBShutdown(fresh, error, nullptr, OCI_DBSHUTDOWN_ABORT)), 1012);
    EXPECT_EQ(oracle.check(OCIDBStartup(fresh, error, nullptr, OCI_DEFAULT, 0)), 1012);
    EXPECT_EQ(define_at(4), 0);
    EXPECT_EQ(execute(oracle.service, 0), 1007);
    EXPECT_EQ(OCIHandleFree(define, OCI_HTYPE_DEFINE), 0);
    EXPECT_EQ(execute(oracle.service, 0), 0);
    EXPECT_EQ(fetch(), 24374);

    EXPECT_EQ(define_at(1), 0);
    EXPECT_EQ(fetch(), 24345);
    EXPECT_EQ(oracle.last, OCI_SUCCESS_WITH_INFO);
    EXPECT_STREQ(text, "C:\\orad");
    EXPECT_EQ(indicator, 28);
    EXPECT_EQ(code, 1406);
    EXPECT_EQ(fetch(), 24345);
    EXPECT_EQ(fetch(), OCI_NO_DATA);
    EXPECT_EQ(fetch(), 1002);

    // Without an array for it, a value that is too long is an error; its row is passed.
    prepare("SELECT NAME FROM V$DATAFILE WHERE FILE# < 3 UNION ALL SELECT 'short' FROM DUAL");
    OCIDefineByPos(statement, &define, error, 1, text, sizeof(text), SQLT_STR, &indicator, nullptr,
                   nullptr, OCI_DEFAULT);
    EXPECT_EQ(execute(oracle.service, 1), 1406);
    EXPECT_EQ(indicator, 28);
    EXPECT_EQ(fetch(), 1406);
    EXPECT_EQ(fetch(), 0);
    EXPECT_STREQ(text, "short");
    EXPECT_EQ(indicator, 0);
    EXPECT_EQ(fetch(), OCI_NO_DATA);

    prepare("SELECT VALUE FROM V$PARAMETER WHERE NAME = 'local_listener'");
    define_at(1);
    EXPECT_EQ(execute(oracle.service, 1), 0);
    EXPECT_EQ(indicator, -1);
    prepare("SELECT BYTES FROM V$DATAFILE WHERE NAME LIKE :n || '%01.DBF' AND FILE# = :f");
    std::int64_t number = 0;
    OCIBind* bind = nullptr;
    std::int16_t file = 4;
    char pattern[] = "C:\\oradata%";
    OCIDefineByPos(statement, &define, error, 1, &number, 8, SQLT_INT, nullptr, nullptr, nullptr,
                   OCI_DEFAULT);
    OCIBindByName(statement, &bind, error, reinterpret_cast<const OraText*>("n"), -1, pattern,
                  sizeof(pattern), SQLT_STR, nullptr, nullptr, nullptr, 0, nullptr, OCI_DEFAULT);
    EXPECT_EQ(execute(oracle.service, 0), 1008);
    OCIBindByName(statement, &bind, error, reinterpret_cast<const OraText*>(":F"), 2, &file, 2,
                  SQLT_INT, nullptr, nullptr, nullptr, 0, nullptr, OCI_DEFAULT);
    EXPECT_EQ(execute(oracle.service, 1), 0);
    EXPECT_EQ(number, 5242880);

    prepare("CREATE DIRECTORY D AS 'C:\\'");
    EXPECT_EQ(execute(oracle.service, 0), 24333);
    EXPECT_EQ(execute(oracle.service, 1), 0);
    EXPECT_EQ(fetch(), 24338);
    EXPECT_EQ(OCIHandleFree(statement, OCI_HTYPE_STMT), 0);
    EXPECT_EQ(OCIHandleFree(define, OCI_HTYPE_DEFINE), -2);
    OCIHandleFree(fresh, OCI_HTYPE_SVCCTX);
    EXPECT_EQ(sandbox::read_leaks(directory), std::vector<std::string>{});
}

}  // namespace
