// oralib-host as a program: what it prints where, and its exit codes.
#include <sstream>
#include <vector>

#include "sandbox/builder.h"
#include "sandbox/native.h"
#include "tests/host/run.h"

namespace {

class HostCommand : public testing::Test {
  protected:
    outcome_t host(const std::string& words, const std::string& environment = "") const {
        set("ORALIB_SANDBOX=");
        set("ORALIB_LIBRARY=" CANNED_MODULE);
        std::istringstream assignments(environment);
        std::vector<std::string> changed;
        for (std::string assignment; assignments >> assignment;) {
            changed.push_back(set(assignment));
        }
        // Without a terminal, as under a scheduler.
        const outcome_t outcome = run(
            folder, (machine_t::is_layered() ? "setsid " : "") + std::string(HOST) + " " + words);
        for (const std::string& name : changed) {
            sandbox::set_environment(name.c_str(), "");
        }
        return outcome;
    }

    static std::string set(const std::string& assignment) {
        const std::string name = assignment.substr(0, assignment.find('='));
        sandbox::set_environment(name.c_str(), assignment.substr(name.size() + 1));
        return name;
    }

    machine_t machine;  // what a sandbox leaves on the drives goes with it
    folder_t folder;
};

const std::string document =
    "<OracleOverall serverName=\"/\" osName=\"\" timeZone=\"-14\">"
    "<home name=\"H\" version=\"\" path=\"\" desc=\"\" /></OracleOverall>";

TEST_F(HostCommand, WrongUsageIsTold) {
    const struct {
        const char* words;
        const char* text;
    } rows[] = {
        {"", "no command"},
        {"exlore", "unknown command 'exlore'"},
        {"sandbox", "unknown command 'sandbox'"},
        {"explore --flies", "unknown option --flies"},
        {"explore more", "does not know what to do with 'more'"},
        {"explore --config", "--config needs a value: FILE"},
        {"explore --xml=yes", "--xml takes no value"},
        {"explore --xml --files", "--files does not go with --xml"},
        {"explore --password-file f", "--password-file needs --user"},
        {"asm --xml", "--xml does not go with 'asm'"},
        {"sandbox create", "'sandbox create' needs DIR"},
        {"sandbox stop d", "'sandbox stop' needs SID"},
        {"sandbox show", "needs DIR, --sandbox or ORALIB_SANDBOX"},
    };
    for (const auto& row : rows) {
        const outcome_t outcome = host(row.words);
        EXPECT_EQ(outcome.code, 2) << row.words;
        EXPECT_EQ(outcome.out, "") << row.words;
        EXPECT_NE(outcome.err.find(row.text), std::string::npos) << row.words << outcome.err;
    }
}

TEST_F(HostCommand, APasswordOnTheCommandLineIsRefusedAndNotRepeated) {
    for (const char* const words : {"--password=tiger", "--password tiger"}) {
        const outcome_t outcome = host(std::string("explore --user scott ") + words);
        EXPECT_EQ(outcome.code, 2);
        EXPECT_NE(outcome.err.find("not taken from the command line"), std::string::npos);
        EXPECT_EQ(outcome.err.find("tiger"), std::string::npos);
    }
}

TEST_F(HostCommand, HelpNamesEveryCommandAndTheExitCodes) {
    const outcome_t all = host("--help");
    for (const char* const text :
         {"explore ", "asm ", "logs folder ", "test ", "sandbox create DIR", "sandbox hang DIR SID",
          "3  explore:", "--sandbox DIR"}) {
        EXPECT_NE(all.out.find(text), std::string::npos) << text;
    }
    EXPECT_EQ(host("sandbox -h").out.find("explore "), host("sandbox -h").out.rfind("explore "));
    EXPECT_NE(host("explore --help").out.find("--password-file FILE"), std::string::npos);
    EXPECT_EQ(host("explore --help").code, 0);
    EXPECT_EQ(host("--version").out.rfind("oralib-host ", 0), 0u);
}

TEST_F(HostCommand, XmlIsTheDocumentAndNothingElse) {
    const outcome_t outcome = host("explore --xml");
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.out, document + "\n");
    EXPECT_EQ(outcome.err, "");
}

TEST_F(HostCommand, ADatabaseThatCouldNotBeReadIsReportedAndTold) {
    const outcome_t plain = host("explore", "CANNED=database");
    EXPECT_EQ(plain.code, 3);
    EXPECT_NE(plain.out.find("UTC-3:30\n"), std::string::npos) << plain.out;
    EXPECT_NE(plain.out.find("X of H could not be read:\n  down\n"), std::string::npos);
    EXPECT_EQ(plain.out.find("--tr:"), std::string::npos);
    EXPECT_NE(host("explore --trace", "CANNED=database").out.find("  down\n  --tr:step\n"),
              std::string::npos);
    EXPECT_EQ(host("explore --xml", "CANNED=database").code, 3);
}

TEST_F(HostCommand, AFailureGoesToStandardErrorWithTheLinesForPeopleFirst) {
    const std::string people =
        "oralib-host: ORA-12560: TNS:protocol adapter error\noralib-host: second cause\n";
    const outcome_t plain = host("explore --xml", "CANNED=explore");
    EXPECT_EQ(plain.code, 1);
    EXPECT_EQ(plain.out, "");
    const std::string hint =
        "oralib-host: hint, ORA-12560: the instance's Windows service does not run\n";
    EXPECT_EQ(plain.err, people + hint);
    EXPECT_EQ(host("--trace explore", "CANNED=explore").err,
              people + "oralib-host: --tr:first step\noralib-host: --tr:second step\n" + hint);
    const std::string no_log = host("asm", "CANNED=init").err;
    EXPECT_EQ(no_log.rfind("oralib-host: no log\n", 0), 0u) << no_log;
    EXPECT_EQ(no_log.find("oralib-host: Outside Windows ") != std::string::npos,
              machine_t::is_layered());

    for (const char* const words : {"--library /nowhere/m.so asm", "--library " HOST " asm",
                                    "--sandbox /nowhere asm", "explore --config /nowhere/f"}) {
        const outcome_t outcome = host(words);
        EXPECT_EQ(outcome.code, 1) << words;
        EXPECT_EQ(outcome.err.rfind("oralib-host: ", 0), 0u) << words << outcome.err;
    }
    if (machine_t::is_layered()) {
        EXPECT_EQ(host("explore --xml > /dev/full; exit $?; ").code, 1);
    }
}

TEST_F(HostCommand, TakesThePasswordFromFileThenEnvironmentThenTerminal) {
    const std::string file = folder.write("password", "t\xC3\xADger \r\nnot this\n");
    const std::string user = "explore --xml --pfile --user scott ";
    EXPECT_NE(host(user + "--password-file " + file, "ORALIB_PASSWORD=other")
                  .out.find("\"scott/t\xC3\xADger \" osName=\"pfile\""),
              std::string::npos);
    EXPECT_NE(host(user, "ORALIB_PASSWORD=lion").out.find("\"scott/lion\""), std::string::npos);
    EXPECT_EQ(host(user).err, "oralib-host: there is no terminal to ask for the password\n");
    const std::string latin1 = folder.write("latin1", "t\xEDger\n");
    EXPECT_EQ(host(user + "--password-file " + latin1).code, 1) << "a changed password was sent";
}

TEST_F(HostCommand, TheSmallCommands) {
    EXPECT_EQ(host("asm").code, 0);
    EXPECT_EQ(host("asm", "CANNED=asm").code, 4);
    EXPECT_EQ(host("logs folder").out, "C:\\t\xC3\xA4glich\\\xF0\x9F\x92\xBE\n");
    EXPECT_NE(host("test").out.find("default log\n"), std::string::npos);
    EXPECT_NE(host("--log x test").out.find("other log\n"), std::string::npos);
}

TEST_F(HostCommand, MakesShowsAndUpsetsASandbox) {
    const std::string server = folder / "server";
    const outcome_t created = host("sandbox create " + server);
    ASSERT_EQ(created.code, 0) << created.err;
    EXPECT_NE(created.out.find(" --sandbox " + server + " explore\n"), std::string::npos);
    EXPECT_EQ(host("sandbox create " + server).code, 1);
    EXPECT_NE(host("sandbox show " + server).out.find("ORCL"), std::string::npos);
    EXPECT_EQ(host("sandbox show", "ORALIB_SANDBOX=" + server).code, 0);
    EXPECT_EQ(host("sandbox show " + (folder / "")).code, 1);

    EXPECT_EQ(host("sandbox stop " + server + " ORCL").code, 0);
    EXPECT_EQ(sandbox::get_state(server, "ORCL"), sandbox::state_t::down);
    EXPECT_EQ(host("sandbox start " + server + " orcl").code, 0);
    EXPECT_EQ(sandbox::get_state(server, "ORCL"), sandbox::state_t::open);
    EXPECT_EQ(host("sandbox start " + server + " +ASM").code, 0);
    EXPECT_EQ(sandbox::get_state(server, "+ASM"), sandbox::state_t::started);
    EXPECT_NE(host("sandbox stop " + server + " NONE").err.find("there are +ASM, DEV"),
              std::string::npos);
}

// Through the real module, which lies beside the host.
TEST_F(HostCommand, ExploresASandboxThatItUpset) {
    const std::string server = folder / "server";
    ASSERT_EQ(host("sandbox create " + server).code, 0);
    ASSERT_EQ(host("sandbox set " + server + " OracleConnectionTimeout 1").code, 0);
    ASSERT_EQ(host("sandbox set " + server + " OracleTempLogPath " + quoted("D:\\a b\\")).code, 0);
    const std::string real = "ORALIB_LIBRARY= ";
    EXPECT_EQ(host("--sandbox " + server + " logs folder", real).out, "D:\\a b\\\n");

    ASSERT_EQ(host("sandbox hang " + server + " FIN").code, 0);
    // What the thread that is ended held is lost.
    outcome_t outcome =
        host("--sandbox " + server + " explore", real + "ASAN_OPTIONS=detect_leaks=0");
    EXPECT_EQ(outcome.code, 3) << outcome.err;
    EXPECT_NE(outcome.out.find("FIN of OraDB19Home1 could not be read:\n"), std::string::npos);
    EXPECT_NE(outcome.out.find("SALES"), std::string::npos);

    ASSERT_EQ(host("sandbox unhang " + server + " FIN").code, 0);
    outcome = host("--sandbox " + server + " explore --pfile", real);
    EXPECT_EQ(outcome.out.find("FIN of OraDB19Home1"), std::string::npos);
    EXPECT_NE(outcome.out.find("  *.db_name='FIN'\n"), std::string::npos);
}

// Through the real module: the verdicts come from its documents and its log.
TEST_F(HostCommand, ASnapshotWithOneDatabaseThatFails) {
    const std::string server = folder / "server";
    const std::string memory = folder / "prepared.xml";
    const std::string real = "ORALIB_LIBRARY= ";
    ASSERT_EQ(host("sandbox create " + server).code, 0);
    const auto run_on_it = [&](const std::string& words) {
        return host("--sandbox " + server + " " + words, real);
    };
    const outcome_t prepared = run_on_it("prepare " + memory);
    EXPECT_EQ(prepared.code, 3) << "some databases of this server cannot be protected";
    EXPECT_NE(prepared.out.find("consistent: in backup mode until finish"), std::string::npos);
    EXPECT_NE(prepared.out.find("cold: shut down until finish"), std::string::npos);
    EXPECT_NE(prepared.out.find("REPORT:\n  Oracle error has occurred. ORA-16000"),
              std::string::npos);
    EXPECT_EQ(run_on_it("prepare " + memory).code, 1) << "the memory of the first one";
    EXPECT_EQ(run_on_it("restore check").out.rfind("This machine was brought back", 0), 0u);

    sandbox::set_fault(server, "FIN", sandbox::ora("ALTER DATABASE END BACKUP", 600));
    const outcome_t half = run_on_it("finish " + memory);
    EXPECT_EQ(half.code, 5);
    EXPECT_NE(half.out.find("FIN     MAY STILL BE IN BACKUP MODE\n"), std::string::npos)
        << half.out;
    EXPECT_NE(half.out.find("ORCL    backup mode ended\n"), std::string::npos);
    EXPECT_NE(half.out.find("ORA-00600"), std::string::npos);
    sandbox::clear_faults(server);
    // Of the one that is out of it already Oracle says so.
    EXPECT_NE(run_on_it("finish " + memory).out.find("FIN     backup mode ended\n"),
              std::string::npos);
    EXPECT_EQ(
        sandbox::query_sql(server, "FIN", "SELECT COUNT(*) FROM V$BACKUP WHERE STATUS = 'ACTIVE'"),
        "0");
}

TEST_F(HostCommand, LogsFromStagingToRetention) {
    const std::string server = folder / "server";
    const std::string real = "ORALIB_LIBRARY= ";
    ASSERT_EQ(host("sandbox create " + server).code, 0);
    const auto run_on_it = [&](const std::string& words) {
        return host("--sandbox " + server + " " + words, real);
    };
    const outcome_t staged = run_on_it("logs backup FIN --after 4");
    EXPECT_EQ(staged.code, 0) << staged.err;
    EXPECT_NE(staged.out.find("  FIN    5   2004000  2005000  32.0 KiB  copy "), std::string::npos)
        << staged.out;
    EXPECT_EQ(run_on_it("logs verify").out, "2 logs, nothing amiss.\n");
    const std::string list = folder.write("list.xml", run_on_it("logs list --xml").out);
    EXPECT_EQ(run_on_it("logs remove " + list).code, 0);
    const outcome_t gone = run_on_it("logs verify " + list);
    EXPECT_EQ(gone.code, 3);
    EXPECT_NE(gone.out.find(" is not there\n"), std::string::npos);

    EXPECT_NE(run_on_it("retention FIN --keep 64KiB").out.find("Nothing was deleted."),
              std::string::npos);
    EXPECT_EQ(run_on_it("retention FIN --keep 64KiB --confirm").code, 0);
    EXPECT_EQ(
        sandbox::query_sql(server, "FIN", "SELECT COUNT(*) FROM V$ARCHIVED_LOG WHERE STATUS = 'A'"),
        "3");
    EXPECT_EQ(run_on_it("retention FIN").code, 2);
    EXPECT_EQ(run_on_it("retention FIN --older-than soon").code, 2);
    EXPECT_EQ(run_on_it("logs backup NONE").code, 1);
}

}  // namespace
