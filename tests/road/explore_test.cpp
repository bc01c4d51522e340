// OracleExploreInstances, from the call to the document.
#include <algorithm>
#include <regex>
#include <sstream>

#include "road/road.h"

namespace road {
namespace {

using strings_t = std::vector<std::string>;

const std::string orcl = "home[OraDB19Home1]/database[ORCL]";
const std::string not_valid = "Oracle database instance state is not valid for property collection";

// The names of this machine and its system are nobody's to commit.
std::string without_machine(const std::string& document) {
    static const std::regex names("serverName=\"[^\"]*\" osName=\"[^\"]*\" timeZone=\"[^\"]*\"");
    return machine_t::is_layered() ? document : std::regex_replace(document, names, "");
}

class Explore : public Road {
  protected:
    void make_demo() {
        sandbox::make_demo_server(folder);
        made_elsewhere = true;
    }

    void make_two() {
        server.add_home(home19());
        server.add_instance(home19(), instance("ORCL"));
        server.add_instance(home19(), instance("SALES"));
    }

    // What the log says of an instance that is down.
    void expect_down() {
        expect_in_log(not_valid);
        expect_in_log("Failed to end OCI session, error: 4294967295");
    }
};

TEST_F(Explore, TheDemoServerAsCommitted) {
    make_demo();
    expect_down();
    const std::string got = readable(explore().result);
    const std::filesystem::path golden = ORALIB_SOURCE_DIR "/tests/road/golden/demo.xml";
    if (std::getenv("ORALIB_ACCEPT")) {
        write_file(golden, got);
    }
    EXPECT_EQ(without_machine(got), without_machine(read_file(golden)))
        << "ORALIB_ACCEPT=1 in the environment accepts it";
}

TEST_F(Explore, AgainAndAgainKeepsNoHandles) {
    make_two();
    write();
    module_t module;
    ASSERT_EQ(module.init(log_name).code, ORALIB_OK);
    const auto explore_once = [&] { EXPECT_EQ(module.explore("", true).code, ORALIB_OK); };
    explore_once();
    explore_once();
    const std::size_t before = count_handles();
    for (int round = 0; round < 5; ++round) {
        explore_once();
    }
    EXPECT_EQ(count_handles(), before);
}

TEST_F(Explore, WhatAnInstanceIsDecidesItsOutcome) {
    struct row_t {
        const char* name;
        std::function<void(sandbox::instance_t&)> make;
        const char* setting;
        const char* log_line;  // a warning or an error that belongs to it
        const char* outcome;   // an error's text, "" collected, "absent"
    };
    const row_t rows[] = {
        {"open", [](auto&) {}, nullptr, nullptr, ""},
        {"read only", [](auto& i) { i.read_only = true; }, nullptr, nullptr, ""},
        {"no archive log", [](auto& i) { i.archive_log = false; }, nullptr, nullptr, ""},
        {"mounted", [](auto& i) { i.state = sandbox::state_t::mounted; }, nullptr,
         not_valid.c_str(), not_valid.c_str()},
        {"started", [](auto& i) { i.state = sandbox::state_t::started; }, nullptr,
         not_valid.c_str(), not_valid.c_str()},
        {"down", [](auto& i) { i.state = sandbox::state_t::down; }, nullptr, not_valid.c_str(),
         not_valid.c_str()},
        {"version 10", [](auto& i) { i.version = "10.2.0.4.0"; }, nullptr, nullptr, "absent"},
        {"version 10, supported", [](auto& i) { i.version = "10.2.0.4.0"; }, "SupportOracle10",
         nullptr, ""},
        {"version 11", [](auto& i) { i.version = "11.2.0.4.0"; }, nullptr, nullptr, ""},
        {"version 23", [](auto& i) { i.version = "23.4.0.24.5"; }, nullptr, nullptr, ""},
        {"processing disabled", [](auto&) {}, "DisableOracleProcessing", nullptr, "absent"},
        {"own SID", [](auto& i) { i.sid = "TarnyTmp1"; }, nullptr, nullptr, "never met"},
        {"own name inside", [](auto& i) { i.sid = "XTarnyTmp"; }, nullptr, nullptr, ""},
        {"own database", [](auto& i) { i.db_name = "TarnyTmp"; }, nullptr, nullptr, "absent"},
    };
    for (const row_t& row : rows) {
        SCOPED_TRACE(row.name);
        machine.reset();
        server = sandbox::server_t(folder);
        server.add_home(home19());
        sandbox::instance_t made = instance("ORCL");
        row.make(made);
        server.add_instance(home19(), made);
        if (row.setting) {
            set(row.setting, 1);
        }
        expected.clear();
        if (row.log_line) {
            expect_in_log(row.log_line);
        }
        if (made.state == sandbox::state_t::down) {
            expect_down();
        }
        const document_t document(explore().result);
        const std::string path = "home/database[" + made.sid + "]";
        const std::string outcome = row.outcome;
        EXPECT_EQ(document.find("home") != nullptr, outcome != "absent");
        if (outcome == "absent" || outcome == "never met") {
            EXPECT_EQ(document.find(path), nullptr);
            EXPECT_EQ(sandbox::executed_statements(folder).empty(), outcome == "never met");
        } else {
            EXPECT_EQ(document.attribute(path, "isError"), outcome.empty() ? "false" : "true");
            EXPECT_EQ(document.attribute(path, "errorDescription"), outcome);
            EXPECT_EQ(document.attribute(path, "archiveLogsOn"),
                      outcome.empty() ? (made.archive_log ? "true" : "false") : "");
            EXPECT_EQ(document.attribute(path, "isReadonly"),
                      outcome.empty() ? (made.read_only ? "true" : "false") : "");
        }
        TearDown();
    }
    expected.clear();
}

TEST_F(Explore, AMachineWithoutOracle) {
    server.set_host("computer_name", "EMPTY");
    EXPECT_EQ(explore().result, "<OracleOverall />");
}

TEST_F(Explore, AHomeOfFailuresAloneAndAnAsmThatFails) {
    sandbox::home_t grid = home19();
    grid.path = "C:\\app\\grid";
    grid.name = "Grid";
    server.add_home(home19());
    server.add_home(grid);
    sandbox::instance_t database = instance("DOWN1");
    database.state = sandbox::state_t::down;
    server.add_instance(home19(), database);
    database.sid = "DOWN2";
    server.add_instance(grid, database);
    sandbox::instance_t storage = instance("+ASM");
    storage.is_asm = true;
    storage.state = sandbox::state_t::down;
    server.add_instance(grid, storage);
    expect_down();
    const document_t document(explore().result);
    EXPECT_EQ(document.attribute("home[OraDB19Home1]", "version"), "");
    EXPECT_EQ(document.attribute("home[OraDB19Home1]", "path"), home19().path);
    EXPECT_EQ(document.find("home[Grid]"), nullptr)
        << "a failed ASM instance takes its home and the failures in it along";
}

TEST_F(Explore, WhatTheDemoServerHasNot) {
    sandbox::home_t silent = home19();
    silent.path = "C:\\app\\silent";
    silent.name = "Silent";
    server.add_home(home19());
    server.add_home(silent);
    sandbox::instance_t made = instance("ORCL");
    made.cluster = true;
    made.remote_listener = "scan:1521";
    server.add_instance(home19(), made);
    server.add_instance(silent, instance("FIRST", "12.1.0.2.0"));
    server.add_instance(silent, instance("NEXT", "12.2.0.1.0"));
    server.add_instance(silent, instance("THIRD", "18.3.0.0.0"));
    server.set_host("time_zone_bias", "300");
    server.set_host("daylight_bias", "-60");
    server.set_host("time_zone_state", "2");
    sandbox::set_fault(folder, "FIRST", sandbox::ora("%V$DATAFILE%", 600));
    expect_in_log("Failed to gather database props for SID: FIRST");
    machine.add_child(silent.path + "\\bin\\orabasehome.exe");
    sandbox::set_environment("ORALIB_CHILD", "exit 0");
    expect_in_log("[C:\\app\\silent\\bin\\orabasehome.exe] told no folder");
    const document_t document(explore().result);
    EXPECT_EQ(document.attribute(orcl, "isCluster"), "true");
    EXPECT_EQ(document.attribute(orcl, "remoteListener"), "scan:1521");
    EXPECT_EQ(document.attribute("home[Silent]", "version"), "12.2.0.1.0");
    if (machine_t::is_layered()) {
        EXPECT_EQ(document.attribute("", "timeZone"), "-16");
    }
}

TEST_F(Explore, ExclusionsAndLogPositions) {
    make_two();
    server.add_instance(home19(), instance("HR"));
    const std::string config =
        "<config><excludes><db name=\"orcl\" home=\"\"/>"
        "<db name=\"SALES\" home=\"Other\"/><db name=\"HR\" home=\"oradb19home1\"/></excludes>"
        "<dbrecids><db sid=\"SALES\" recId=\"7\" stamp=\"8\" "
        "firstPassRecId=\"1\"/></dbrecids></config>";
    EXPECT_EQ(validate(config, "explore-config.xsd"), "");
    const document_t document(explore(config).result);
    EXPECT_EQ(document.list("home", "sid"), strings_t{"SALES"});
    EXPECT_EQ(count_in_log("Database with sid [ORCL] Home [OraDB19Home1] excluded"), 1u);
    EXPECT_EQ(count_in_log("Explore db config sid found: SALES, recId: 7, stamp: 8"), 1u);
}

TEST_F(Explore, InputWithADeclarationIsReadInTheCodePage) {
    sandbox::home_t home = home19();
    home.name = "Caf\xc3\xa9";
    server.add_home(home);
    server.add_instance(home, instance("ORCL"));
    for (const char* declaration : {"", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"}) {
        EXPECT_EQ(explore(declaration + std::string("<c><excludes><db name=\"ORCL\" "
                                                    "home=\"Caf\xc3\xa9\"/></excludes></c>"))
                      .result,
                  "<OracleOverall />");
    }
}

TEST_F(Explore, InputThatCannotBeReadCostsOnlyItself) {
    make_two();
    const std::string deep = [] {
        std::string text;
        for (int i = 0; i < 100000; ++i) {
            text += "<a>";
        }
        return text;
    }();
    const struct {
        std::string config;
        std::size_t databases;
    } rows[] = {
        {"no xml at all", 2},
        {"<config><excludes><db name=\"ORCL\" home=\"\"/><db name=\"SALES\"/></excludes></config>",
         1},
        {"<!-- a document without an element -->", 2},
        {"<config><dbrecids><db sid=\"ORCL\"/></dbrecids><excludes><db name=\"ORCL\" "
         "home=\"\"/></excludes></config>",
         2},
        {"<config \xd0\x96=\"1\"/>", 2},
        {deep, 2},
    };
    expect_in_log("Failed to parse explore db config");
    for (const auto& row : rows) {
        clear_log();
        const document_t document(explore(row.config).result);
        EXPECT_EQ(document.list("home", "sid").size(), row.databases) << row.config.substr(0, 80);
        EXPECT_EQ(count_in_log("Failed to parse explore db config"), 1u);
    }
}

TEST_F(Explore, ParameterFiles) {
    server.add_home(home19());
    sandbox::instance_t with_spfile = instance("ORCL");
    sandbox::instance_t with_init = instance("DEV");
    with_init.with_spfile = false;
    with_init.with_init_file = true;
    server.add_instance(home19(), with_spfile);
    server.add_instance(home19(), with_init);
    expect_in_log("Unable to create pfile from spfile");
    const document_t document(explore("", true).result);
    for (const char* sid : {"ORCL", "DEV"}) {
        EXPECT_GT(document.attribute("home/database[" + std::string(sid) + "]", "pfile").size(),
                  40u);
    }
    EXPECT_EQ(count_in_log("Unable to create pfile from spfile"), 1u);
    EXPECT_TRUE(std::filesystem::is_empty(machine.find("C:\\ProgramData\\Tarny\\Backup\\Tmp")));
    EXPECT_EQ(document.attribute("home/database[DEV]", "config"),
              home19().path + "\\database\\initDEV.ora");
}

TEST_F(Explore, PasswordFilesInAsmOnDiskAndNowhere) {
    sandbox::home_t home = home19();
    home.with_srvctl = true;
    home.password_location = "+DATA/ORCL/PASSWORD/pwdorcl.256.1";
    server.add_home(home);
    sandbox::home_t plain = home19();
    plain.path = "C:\\app\\plain";
    plain.name = "Plain";
    server.add_home(plain);
    sandbox::instance_t without = instance("NOPWD");
    without.with_password_file = false;
    server.add_instance(home, instance("ORCL"));
    server.add_instance(home, instance("OLD", "11.2.0.4.0"));
    server.add_instance(plain, instance("DISK"));
    server.add_instance(plain, without);
    const document_t document(explore().result);
    EXPECT_EQ(document.attribute(orcl, "pwdFilePath"), "+DATA/ORCL/PASSWORD/pwdorcl.256.1");
    EXPECT_EQ(document.attribute("home[OraDB19Home1]/database[OLD]", "pwdFilePath"),
              home.path + "\\database\\PWDOLD.ora");
    EXPECT_EQ(document.attribute("home[Plain]/database[DISK]", "pwdFilePath"),
              "C:\\app\\plain\\database\\PWDDISK.ora");
    EXPECT_EQ(document.attribute("home[Plain]/database[NOPWD]", "pwdFilePath"), "");
    EXPECT_EQ(count_in_log("Executing script: "), 1u);
}

TEST_F(Explore, ANamedUserWithAndWithoutTheRight) {
    server.add_home(home19());
    sandbox::instance_t made = instance("ORCL");
    made.users = {{"backup_dba", distinctive_password, true},
                  {"backup_user", distinctive_password, false}};
    server.add_instance(home19(), made);

    EXPECT_EQ(document_t(explore("", false, "backup_dba", distinctive_password).result)
                  .attribute(orcl, "isError"),
              "false");
    EXPECT_EQ(count_in_log("WARN|"), 0u);

    expect_in_log(
        "Failed to connect as SYSDBA: insufficient privileges or channel error. "
        "Connecting by default. Login: backup_user");
    EXPECT_EQ(document_t(explore("", false, "backup_user", distinctive_password).result)
                  .attribute(orcl, "isError"),
              "false");

    expect_in_log("Connecting by default. Login: nobody");
    expect_in_log("Oracle session init thread failed");
    expect_in_log("Failed to gather database props for SID: ORCL");
    const std::string error = document_t(explore("", false, "nobody", distinctive_password).result)
                                  .attribute(orcl, "errorDescription");
    EXPECT_NE(error.find("ORA-01017"), std::string::npos) << error;
    EXPECT_NE(error.find("--tr:Failed to create oracle session holder. SID: ORCL."),
              std::string::npos)
        << error;
}

TEST_F(Explore, ThePasswordStaysOutOfTheChildren) {
    server.add_home(home19());
    sandbox::instance_t made = instance("ORCL");
    made.users = {{"backup_dba", distinctive_password, true}};
    server.add_instance(home19(), made);
    machine.add_child(home19().path + "\\bin\\orabasehome.exe");
    machine.add_child(home19().path + "\\bin\\srvctl.bat");
    sandbox::set_environment("ORALIB_CHILD", "dump " + (folder / "seen").u8string());
    expect_in_log("orabasehome.exe] told no folder, and so the home counts as read-only");
    explore("", true, "backup_dba", distinctive_password);
    const std::string seen = read_file(folder / "seen");
    EXPECT_NE(seen.find("ORACLE_SID=ORCL"), std::string::npos);
    EXPECT_NE(seen.find("config database -db ORCL"), std::string::npos);
    EXPECT_EQ(seen.find(distinctive_password), std::string::npos);
}

TEST_F(Explore, OperatingSystemAuthenticationAsksForTheGroup) {
    make_two();
    server.set_account({"LAB\\guest", "", "", ""});
    server.set_process_account("LAB\\guest");
    expect_in_log("Oracle session init thread failed");
    expect_in_log("Failed to gather database props for SID");
    const document_t document(explore().result);
    EXPECT_NE(document.attribute(orcl, "errorDescription").find("ORA-01031"), std::string::npos);
}

TEST_F(Explore, SettingsOfTheWrongTypeAndARegistryCutOff) {
    make_two();
    server.set_registry(settings_key, "OracleConnectionTimeout", "not a number");
    set("OracleWaitDbStartedAttemptCount", 0);
    set("OracleAgentTtlSec", 0xFFFFFFFF);
    server.set_registry(settings_key, "SupportOracle10", "1");
    write();
    EXPECT_EQ(document_t(explore().result).list("home", "sid").size(), 2u);
    EXPECT_EQ(count_in_log("OracleConnectionTimeout: 300"), 1u);
    EXPECT_EQ(count_in_log("OracleWaitDbStartedAttemptCount: 0"), 1u);
    EXPECT_EQ(count_in_log("OracleAgentTtlSec: 4294967295"), 1u);
    EXPECT_EQ(count_in_log("SupportOracle10: false"), 1u);

    const std::string whole = read_file(folder / "registry.reg");
    // Windows' own tool refuses to import half a file.
    for (std::size_t size = 0; machine_t::is_layered() && size < whole.size(); size += 97) {
        write_file(folder / "registry.reg", whole.substr(0, size));
        machine.refresh();
        module_t module;
        ASSERT_EQ(module.init(log_name).code, ORALIB_OK);
        const answer_t answer = module.explore();
        ASSERT_EQ(answer.code, ORALIB_OK) << answer.error;
    }
    expect_in_log("");
}

TEST_F(Explore, OddNamesAreTakenAsTheyStand) {
    server.add_home(home19());
    const struct {
        std::string service;
        std::string image_path;
        const char* sid;
    } rows[] = {
        {"OracleServiceTWO WORDS", home19().path + "\\bin\\ORACLE.EXE TWO WORDS", "TWO WORDS"},
        {"oracleserviceQUOTE", "\"" + home19().path + "\\bin\\oracle.exe\" A\"B'C", "A\"B'C"},
        {"OracleServiceLONG", home19().path + "\\bin\\ORACLE.EXE " + std::string(60, 'L'),
         "LLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLLL"},
        {"OracleServiceOTHER", "C:\\elsewhere\\bin\\ORACLE.EXE OTHER", nullptr},
        {"OracleServiceTOOLONG", home19().path + "\\bin\\ORACLE.EXE " + std::string(300, 'T'),
         nullptr},
        {std::string(255, 'S'), "C:\\elsewhere\\service.exe", nullptr},
        {"NotOracleService", home19().path + "\\bin\\ORACLE.EXE NOT", nullptr},
    };
    strings_t sids;
    for (const auto& row : rows) {
        server.set_registry("SYSTEM\\CurrentControlSet\\Services\\" + row.service, "ImagePath",
                            row.image_path);
        if (row.sid) {
            sids.push_back(row.sid);
        }
    }
    expect_in_log("Oracle session init thread failed");
    expect_in_log("Failed to gather database props for SID");
    strings_t got = document_t(explore().result).list("home", "sid");
    std::sort(got.begin(), got.end());
    std::sort(sids.begin(), sids.end());
    EXPECT_EQ(got, sids);
}

TEST_F(Explore, ANameOutsideTheCodePageFailsTheDocument) {
    sandbox::home_t home = home19();
    home.name = "\xd0\x96";
    server.add_home(home);
    server.add_instance(home, instance("ORCL"));
    expect_in_log("Failed to explore oracle instances.");
    const answer_t answer = explore();
    EXPECT_EQ(answer.code, ORALIB_FAILED);
    EXPECT_NE(answer.error.find("Unicode string cannot be converted to multibyte string."),
              std::string::npos);
    EXPECT_EQ(answer.error.find("Failed to explore oracle instances."), std::string::npos)
        << "the phrase is for the log alone";
}

}  // namespace
}  // namespace road
