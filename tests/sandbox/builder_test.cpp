// The directory that the builder makes.
#include <algorithm>

#include "tests/sandbox/fixture.h"

namespace {

class Builder : public SandboxTest {};

TEST_F(Builder, WritesTheRegistryAsRegeditWould) {
    sandbox::server_t server(directory);
    home.path = "C:\\o\\19";
    home.read_only = true;
    server.add_home(home);
    auto described = instance("ORCL");
    described.autostart = "TRUE";
    server.add_instance(home, described);
    server.set_registry("SOFTWARE\\Tarny", "quote\"d", std::string("a\\b"));
    server.set_registry("SOFTWARE\\Tarny", "n", 0x1F4u);
    server.set_registry("SOFTWARE\\Tarny", "raw",
                        {sandbox::value_kind::bytes, std::string("\x01\xFF", 2), 0});
    server.write();
    std::string text = read_file(directory / "registry.reg");
    EXPECT_EQ(text.compare(0, 2, "\xFF\xFE"), 0);
    text.erase(std::remove(text.begin(), text.end(), '\0'), text.end());  // all of it is ASCII
    for (const char* part :
         {"Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\ORACLE\\"
          "KEY_OraDB19Home1]\r\n",
          "\"ORACLE_HOME\"=\"C:\\\\o\\\\19\"\r\n",
          "\"ORA_ORCL_AUTOSTART\"=hex(2):54,00,52,00,55,00,45,00,00,00\r\n",
          "\"quote\\\"d\"=\"a\\\\b\"\r\n", "\"n\"=dword:000001f4\r\n", "\"raw\"=hex:01,ff\r\n",
          "\\Services\\OracleServiceORCL]\r\n",
          "\"ImagePath\"=hex(2):43,00,3a,00,5c,00,6f,00,5c,00,31,00,39,00,5c,00,62,00,69,00,6e"}) {
        EXPECT_NE(text.find(part), std::string::npos) << part << "\nin\n" << text;
    }
    EXPECT_TRUE(exists("C:\\O\\19\\BIN\\ORACLE.EXE"));
    EXPECT_TRUE(exists("C:\\app\\oracle\\database\\spfileorcl.ora"));
    const std::string said = (directory / "said").string();
    run_command(machine.find("C:\\o\\19\\bin\\orabasehome.exe").string() + " > " + said);
    EXPECT_EQ(read_file(said), "C:\\app\\oracle\r\n");
}

TEST_F(Builder, TheDemoServerShowsOneOfEach) {
    sandbox::make_demo_server(directory);
    std::string list;
    for (const auto& summary : sandbox::describe(directory)) {
        list += summary.sid + " " + summary.kind + " " + summary.version + " " + summary.state +
                "; " + summary.detail + "\n";
    }
    EXPECT_EQ(list,
              "+ASM ASM 19.0.0.0.0 started; disk groups: DATA, FRA\n"
              "DEV database 19.0.0.0.0 open; no archive log mode\n"
              "FIN database 19.0.0.0.0 open; archive log mode\n"
              "LEGACY database 10.2.0.4.0 open; archive log mode\n"
              "ORCL container database 19.0.0.0.0 open; archive log mode; pluggable databases: "
              "SALES, HR\n"
              "REPORT container database 21.0.0.0.0 open read only; archive log mode\n"
              "STBY database 21.0.0.0.0 mounted; archive log mode\n"
              "TEST database 21.0.0.0.0 down; archive log mode\n");
    EXPECT_TRUE(exists("C:\\oradata\\ORCL\\SYSTEM01.DBF"));
    EXPECT_TRUE(exists("+FRA/FIN/ARCHIVELOG/ARC0000000001_1158053400.0001"));
}

TEST_F(Builder, OddSidsAreFound) {
    auto odd = instance("A/B:c%");
    odd.with_spfile = odd.with_password_file = false;  // Windows has no such names of files
    add(odd);
    EXPECT_EQ(sandbox::list_sids(directory), std::vector<std::string>{"A/B:c%"});
    EXPECT_EQ(client::session_t("a/b:C%").value("SELECT INSTANCE_NAME FROM V$INSTANCE"), "A/B:c%");
}

}  // namespace
