// job, recover and demo through the real module: whatever ends a backup, nothing is left behind.
#include "sandbox/builder.h"
#include "sandbox/native.h"
#include "tests/host/run.h"

namespace {

class Job : public testing::Test {
  protected:
    Job() {
        sandbox::set_environment("ORALIB_LIBRARY", "");
        sandbox::set_environment("ASAN_OPTIONS", "detect_leaks=0");  // of what a signal cut off
    }

    // One database with archive logging, and one that has to be shut down.
    void make_server(const std::string& folder_name) const {
        sandbox::server_t made(folder_name);
        sandbox::home_t home;
        home.path = "C:\\app\\oracle\\product\\19.0.0\\dbhome_1";
        home.name = "OraDB19Home1";
        home.base = "C:\\app\\oracle";
        made.add_home(home);
        sandbox::instance_t hot;
        hot.sid = "HOT";
        hot.pdbs.resize(1);
        hot.pdbs[0].name = "SALES";
        made.add_instance(home, hot);
        sandbox::instance_t cold;
        cold.sid = "COLD";
        cold.archive_log = false;
        made.add_instance(home, cold);
        made.write();
    }

    outcome_t host(const std::string& words) const {
        return run(folder, std::string(HOST) + " --sandbox " + server + " " + words);
    }

    // "well" where no database is in backup mode and both are open.
    std::string state() const {
        for (const auto& instance : sandbox::describe(server)) {
            if (instance.state != "open" ||
                instance.detail.find("in backup mode") != std::string::npos) {
                return instance.sid + " is " + instance.state + ", " + instance.detail;
            }
        }
        return "well";
    }

    machine_t machine;
    folder_t folder;
    const std::string server = folder / "server";
};

TEST_F(Job, FinishesWhateverTheCommandDoes) {
    make_server(server);
    const std::string show = quoted(HOST) + " sandbox show " + server;
    const struct {
        const char* what;
        std::string words;
        int code;
        const char* says;
    } rows[] = {
        {"goes well", "job -- " + show, 0, "in backup mode: "},
        {"fails", "job -- " + quoted(HOST) + " no-such-command", 1, "The command ended with 2."},
        {"is none", "job -- " + (folder / "nothing"), 1, "backup mode ended"},
        {"takes long", "job --time-limit 1s -- " + quoted(CHILD) + " sleep 60000", 6,
         "The command took too long and was ended."},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const std::string document = folder / "prepared.xml";
        const outcome_t outcome = host("job --document " + document + row.words.substr(3));
        EXPECT_EQ(outcome.code, row.code) << outcome.out << outcome.err;
        EXPECT_NE(outcome.out.find(row.says), std::string::npos) << outcome.out << outcome.err;
        EXPECT_EQ(state(), "well");
        EXPECT_FALSE(std::filesystem::exists(document));
    }
    EXPECT_EQ(host("recover").out, "No job left anything behind.\n");
}

TEST_F(Job, NoSnapshotThatNoRestoreCouldComplete) {
    make_server(server);
    const auto staging =
        machine_t::is_layered() ? std::filesystem::path(server) / "drives/c" : machine.drive();
    const auto in_the_way = staging / "ProgramData/Tarny/Backup/OracleLogBackup/OracleMeta.xml";
    std::filesystem::create_directories(in_the_way / "full");
    const std::string document = folder / "prepared.xml";
    const outcome_t outcome =
        host("job --document " + document + " -- " + quoted(HOST) + " --version");
    EXPECT_EQ(outcome.code, 3) << outcome.out << outcome.err;
    EXPECT_NE(outcome.out.find("A snapshot taken now could not be restored: "), std::string::npos);
    EXPECT_EQ(outcome.out.find("The command ended"), std::string::npos) << outcome.out;
    EXPECT_EQ(state(), "well");
    EXPECT_EQ(host("prepare " + document).code, 3);
    EXPECT_EQ(host("finish " + document).code, 0);
    remove_folder(in_the_way);
    EXPECT_EQ(host("prepare " + document + "2").code, 0);
    EXPECT_EQ(host("finish " + document + "2").code, 0);
    EXPECT_EQ(state(), "well");
}

TEST_F(Job, WhatCannotBeFinishedIsKeptAndTold) {
    make_server(server);
    const std::string document = folder / "prepared.xml";
    const std::string job = "job --document " + document + " -- " + quoted(HOST) + " --version";
    sandbox::set_fault(server, "HOT", sandbox::ora("ALTER DATABASE END BACKUP", 600, 0));
    EXPECT_EQ(host(job).code, 5);
    EXPECT_EQ(state().rfind("HOT is open, ", 0), 0u) << state();
    const outcome_t refused = host(job);
    EXPECT_EQ(refused.code, 1) << "the document of the first is not written over";
    EXPECT_NE(refused.err.find(" recover "), std::string::npos);
    sandbox::clear_faults(server);

    // The instance is lost in backup mode, which no statement of finish can mend.
    sandbox::set_state(server, "HOT", sandbox::state_t::mounted);
    const outcome_t closed = host("recover --document " + document);
    EXPECT_EQ(closed.code, 5);
    EXPECT_NE(closed.out.find("HOT   NOT OPEN: MAY STILL BE IN BACKUP MODE\n"), std::string::npos)
        << closed.out;
    sandbox::set_state(server, "HOT", sandbox::state_t::open);
    EXPECT_EQ(host("recover --document " + document).code, 0);
    EXPECT_EQ(state(), "well");
}

// The process is ended at each call into the client and into the system.
class CutOff : public Job {
  protected:
    // Whether the job was cut off before its end.
    bool cut_off(const char* variable, int call) const {
        SCOPED_TRACE(std::string(variable) + "=" + std::to_string(call));
        remove_folder(server);
        sandbox::take_snapshot(folder / "fresh", server);
        const std::string words =
            "job --document " + (folder / "saved.xml") + " -- " + quoted(HOST) + " --version";
        sandbox::set_environment(variable, std::to_string(call));
        const bool is_cut_off = host(words).code != 0;
        sandbox::set_environment(variable, "");
        const std::string recover = "recover --document " + (folder / "saved.xml");
        outcome_t recovered = host(recover);
        if (recovered.out.find("COLD  MAY STILL BE DOWN\n") != std::string::npos) {
            // Half way through a shutdown only the operator can help.
            EXPECT_EQ(recovered.code, 5);
            EXPECT_EQ(state().find("in backup mode"), std::string::npos);
            sandbox::set_state(server, "COLD", sandbox::state_t::open);
            recovered = host(recover);
        }
        EXPECT_EQ(recovered.code, 0) << recovered.out << recovered.err;
        EXPECT_EQ(state(), "well") << recovered.out;
        EXPECT_EQ(host("restore check").out, "There is nothing to be restored.\n");
        return is_cut_off;
    }

    void sweep(const char* variable, int step, int at_least) const {
        make_server(folder / "fresh");
        std::filesystem::create_directories(std::filesystem::path(folder / "fresh") / "oracle");
        write_file(std::filesystem::path(folder / "fresh") / "oracle/journal.off", "");
        int call = 1;
        while (!HasFailure() && cut_off(variable, call)) {
            call += step;
        }
        EXPECT_GT(call, at_least);
    }
};

TEST_F(CutOff, AtACallOfTheClientAndRecovered) {
    sweep("ORALIB_OCI_END_AT", machine_t::is_layered() ? 9 : 100, 300);
}

TEST_F(CutOff, AtACallOfTheSystemAndRecovered) {
    if (!machine_t::is_layered()) {
        GTEST_SKIP() << "the calls of a real system are not counted";
    }
    sweep("ORALIB_PLATFORM_END_AT", 17, 500);
}

TEST_F(Job, TheDemonstrationRunsThrough) {
    const outcome_t demo = run(folder, std::string(HOST) + " demo " + (folder / "demo"));
    EXPECT_EQ(demo.code, 0) << demo.out << demo.err;
    EXPECT_NE(demo.out.find("\nThe whole road took "), std::string::npos);
    for (const char* sid : {"DEV", "FIN", "ORCL"}) {
        EXPECT_EQ(sandbox::get_state(std::filesystem::path(folder / "demo") / "image", sid),
                  sandbox::state_t::open)
            << sid;
    }
}

}  // namespace
