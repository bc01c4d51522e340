// What the databases answer to the library's statements.
#include "tests/sandbox/fixture.h"

using client::row_t;
using client::session_t;
using sandbox::state_t;

namespace {

class Statements : public SandboxTest {
  protected:
    static sandbox::instance_t container() {
        auto result = instance("ORCL");
        result.db_domain = "lab.example";
        result.pdbs.resize(2);
        result.pdbs[0].name = "SALES";
        result.pdbs[0].guid = "0123456789ABCDEF0123456789ABCDEF";
        result.pdbs[1].name = "HR";
        result.pdbs[1].save_state = false;
        result.recovery_area = "C:\\fra";
        result.restore_points = {{"P1", true}, {"P2", false}};
        result.local_listener = "LISTENER_ORCL";
        result.archived_logs.resize(3);
        result.archived_logs[1].status = "D";
        return result;
    }
};

TEST_F(Statements, FailAsInOracle) {
    add(container());
    session_t oracle("ORCL");
    const struct {
        const char* sql;
        int code;
    } cases[] = {
        {"SELECT X FROM V$NOTHING", 942},
        {"SELECT NAMES FROM V$DATABASE", 904},
        {"SELECT \"name s\" FROM V$DATABASE", 904},
        {"SELECT F(NAME) FROM V$DATABASE", 904},
        {"SELECT NAME FROM V$DATABASE, V$LOGFILE, V$DATAFILE", 918},
        {"SELECT NAME FROM V$DATABASE;", 911},
        {"SELECT NAME FROM V$DATABASE WHERE NAME = 'X", 1756},
        {"SELECT NAME FROM V$DATABASE WHERE", 900},
        {"SELECT 1", 923},
        {"SELECT NAME FROM V$DATABASE WHERE NAME = :n", 1008},
        {"SELECT SYS_CONTEXT('USERENV','NOTHING') FROM DUAL", 2003},
        {"SELECT NAME FROM V$PARAMETER WHERE VALUE = ''", 0},
        {"ALTER DATABASE MOUNTT", 900},
        {"DO SOMETHING", 900},
        {"", 900},
        {"BEGIN NOTHING.DONE('x'); END;", 6550},
        {"BEGIN UTL_FILE.FREMOVE('x'); END;", 6550},
        {"BEGIN UTL_FILE.FREMOVE('x', 'y') END;", 6550},
        {"BEGIN UTL_FILE.FREMOVE('x', 'y'); END", 6550},
    };
    for (const auto& entry : cases) {
        oracle.select(entry.sql, std::string(entry.sql).compare(0, 6, "SELECT") == 0 ? 1 : 0);
        EXPECT_EQ(oracle.code, entry.code) << entry.sql << "\n" << oracle.text;
    }
    EXPECT_EQ(oracle.value("SELECT BANNER FROM V$VERSION WHERE BANNER LIKE 'oracle%'"), "(none)");
}

TEST_F(Statements, VersionsHaveTheirColumns) {
    add(instance("OLD", "11.2.0.4.0"));
    add(instance("OLDER", "10.2.0.4.0"));
    session_t eleven("OLD");
    EXPECT_EQ(eleven.value("SELECT CDB FROM V$DATABASE"), "(none)");
    EXPECT_EQ(eleven.code, 904);
    eleven.select("SELECT NAME, GUID FROM V$PDBS", 2);
    EXPECT_EQ(eleven.code, 942);
    EXPECT_EQ(eleven.run("create pfile='C:\\Windows\\Temp\\p' from memory"), 0);
    session_t ten("OLDER");
    EXPECT_EQ(ten.run("create pfile='C:\\Windows\\Temp\\q' from memory"), 922);
    EXPECT_EQ(ten.value("SELECT COUNT(*) FROM V$DATAFILE"), "4");
}

TEST_F(Statements, StateDecidesWhatCanBeRead) {
    add(container());
    const struct {
        state_t state;
        int codes[5];
    } cases[] = {{state_t::started, {0, 0, 1507, 1507, 1219}},
                 {state_t::mounted, {0, 0, 0, 0, 1219}},
                 {state_t::open, {0, 0, 0, 0, 0}}};
    for (const auto& entry : cases) {
        sandbox::set_state(directory, "ORCL", entry.state);
        session_t oracle("ORCL");
        int i = 0;
        for (const char* view :
             {"V$INSTANCE", "V$PARAMETER", "V$DATABASE", "V$ARCHIVED_LOG", "DBA_DIRECTORIES"}) {
            oracle.value(std::string("SELECT COUNT(*) FROM ") + view);
            EXPECT_EQ(oracle.code, entry.codes[i++]) << view << static_cast<int>(entry.state);
        }
    }
    auto storage = instance("+ASM");
    storage.is_asm = true;
    storage.state = state_t::started;
    storage.asm_groups = {{"DATA", {{"D0"}, {"D1", "OFFLINE"}}}, {"", {{"SPARE"}}}};
    add(storage);
    session_t oracle("+ASM");
    EXPECT_EQ(oracle.select("SELECT D.PATH,DG.NAME,D.MODE_STATUS FROM V$ASM_DISK D, "
                            "V$ASM_DISKGROUP DG WHERE DG.GROUP_NUMBER=D.GROUP_NUMBER",
                            3),
              (std::vector<row_t>{{"D0", "DATA", "ONLINE"}, {"D1", "DATA", "OFFLINE"}}));
    oracle.value("SELECT NAME FROM V$DATABASE");
    EXPECT_EQ(oracle.code, 1507);
    EXPECT_EQ(oracle.run("ALTER DATABASE MOUNT"), 15000);
}

TEST_F(Statements, ParameterFilesAreWritten) {
    auto described = container();
    described.parameters["undo_tablespace"] = "Raum-\xC3\xA4";
    add(described);
    session_t oracle("ORCL");
    EXPECT_EQ(oracle.run("create pfile='C:\\Windows\\Temp\\{1}' from spfile"), 0);
    EXPECT_NE(read("C:\\windows\\TEMP\\{1}").find("*.db_name='ORCL'\n"), std::string::npos);
    EXPECT_NE(read("C:\\Windows\\Temp\\{1}").find("Raum-\xE4'"), std::string::npos);
    EXPECT_EQ(oracle.run("create pfile='C:\\none\\x' from memory"), 27040);
    std::filesystem::remove(
        sandbox::native_path(directory, home.path + "\\database\\SPFILEORCL.ORA"));
    EXPECT_EQ(oracle.run("create pfile='C:\\Windows\\Temp\\2' from spfile"), 1565);
    EXPECT_EQ(oracle.run("create pfile='C:\\Windows\\Temp\\2' from memory"), 0);
    EXPECT_EQ(read("C:\\Windows\\Temp\\2").compare(0, 13, "# Oracle init"), 0);
    session_t user("ORCL", "system", "manager", OCI_DEFAULT);
    EXPECT_EQ(user.run("create pfile='C:\\Windows\\Temp\\3' from memory"), 1031);
}

TEST_F(Statements, ServerFilesAreCopiedAndRemoved) {
    auto described = container();
    described.archive_folder = "+FRA/ORCL/ARCHIVELOG";
    described.asm_groups = {{"FRA", {}}};
    add(described);
    session_t oracle("ORCL");
    const std::string log = "ARC0000000001_1158053400.0001";
    EXPECT_EQ(oracle.run("CREATE DIRECTORY SRC AS '+FRA/ORCL/ARCHIVELOG'"), 0);
    EXPECT_EQ(oracle.run("CREATE DIRECTORY src AS 'C:\\'"), 955);
    EXPECT_EQ(oracle.run("CREATE DIRECTORY DST AS 'C:\\Windows\\Temp'"), 0);
    const auto copy = [&](const std::string& arguments) {
        return oracle.run("BEGIN\n DBMS_FILE_TRANSFER.COPY_FILE(" + arguments + ");\n END;");
    };
    EXPECT_EQ(copy("'SRC', '" + log + "', 'DST', 'copy.log'"), 0);
    EXPECT_EQ(read("C:\\Windows\\Temp\\copy.log"), read("+FRA/ORCL/ARCHIVELOG/" + log));
    EXPECT_EQ(read("C:\\Windows\\Temp\\copy.log").size(), 32768u);
    EXPECT_EQ(copy("'SRC', '" + log + "', 'DST', 'copy.log'"), 19504);
    EXPECT_EQ(copy("'SRC', 'none', 'DST', 'x'"), 19505);
    EXPECT_EQ(copy("'NONE', 'none', 'DST', 'x'"), 6564);
    EXPECT_EQ(oracle.run("BEGIN\n UTL_FILE.FREMOVE('DST', 'copy.log');\n END;"), 0);
    EXPECT_FALSE(exists("C:\\Windows\\Temp\\copy.log"));
    EXPECT_EQ(oracle.run("BEGIN\n UTL_FILE.FREMOVE('DST', 'copy.log');\n END;"), 29283);
    EXPECT_EQ(oracle.run("BEGIN\n UTL_FILE.FREMOVE('NONE', 'copy.log');\n END;"), 29280);
    EXPECT_EQ(oracle.run("DROP DIRECTORY SRC"), 0);
    EXPECT_EQ(oracle.run("DROP DIRECTORY SRC"), 4043);

    const auto attributes = [&](session_t& from, std::string path, std::int32_t* numbers) {
        auto* block = from.prepare(
            "BEGIN \n DBMS_DISKGROUP.GETFILEATTR(:fname,:ftype,:fsize,:blksize); \n END;");
        const auto bind = [&](const char* name, void* value, sb4 size, ub2 type) {
            OCIBind* handle = nullptr;
            return OCIBindByName(block, &handle, from.error, reinterpret_cast<const OraText*>(name),
                                 -1, value, size, type, nullptr, nullptr, nullptr, 0, nullptr,
                                 OCI_DEFAULT);
        };
        bind(":fname", &path[0], static_cast<sb4>(path.size()) + 1, SQLT_STR);
        bind(":ftype", &numbers[0], 4, SQLT_INT);
        bind(":fsize", &numbers[1], 4, SQLT_INT);
        EXPECT_EQ(bind(":nothing", &numbers[1], 4, SQLT_INT), OCI_ERROR);
        const int missing = from.check(
            OCIStmtExecute(from.service, block, from.error, 1, 0, nullptr, nullptr, OCI_DEFAULT));
        EXPECT_TRUE(missing == 1008 || missing == 6550) << from.text;
        bind(":BLKSIZE", &numbers[2], 4, SQLT_INT);
        const int code = from.check(
            OCIStmtExecute(from.service, block, from.error, 1, 0, nullptr, nullptr, OCI_DEFAULT));
        OCIHandleFree(block, OCI_HTYPE_STMT);
        return code;
    };
    std::int32_t numbers[3] = {};
    EXPECT_EQ(attributes(oracle, "+FRA/ORCL/ARCHIVELOG/" + log, numbers), 0);
    EXPECT_EQ(numbers[0], 4);
    EXPECT_EQ(numbers[1], 64);
    EXPECT_EQ(numbers[2], 512);
    EXPECT_EQ(attributes(oracle, "+FRA/none", numbers), 15056);
    EXPECT_EQ(attributes(oracle, "+NONE/none", numbers), 15001);
    session_t user("ORCL", "system", "manager", OCI_DEFAULT);
    EXPECT_EQ(attributes(user, "+FRA/ORCL/ARCHIVELOG/" + log, numbers), 6550);
}

}  // namespace
