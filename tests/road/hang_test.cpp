// A client that hangs, faults, is not there or is not whole costs its instance and nothing else.
#include <chrono>
#include <csignal>
#include <set>
#include <thread>

#include "road/road.h"

namespace road {
namespace {

using clock_t = std::chrono::steady_clock;

class Hang : public Road {
  protected:
    Hang() {
        server.add_home(home19());
        for (const char* sid : {"AAA", "BBB", "CCC"}) {
            server.add_instance(home19(), instance(sid));
        }
        set("OracleConnectionTimeout", 1);
        leaks_expected = true;
    }

    std::size_t journal_calls_of_threads_that(const std::string& entry) const {
        std::set<long> threads;
        std::size_t calls = 0;
        for (const sandbox::record_t& record : sandbox::read_journal(folder)) {
            calls += threads.count(record.tid);
            if (record.entry == entry && record.sid == "BBB") {
                threads.insert(record.tid);
            }
        }
        return calls;
    }
};

TEST_F(Hang, CostsItsTimeAndNothingElse) {
    expect_in_log("Failed to gather database props for SID: BBB");
    const struct {
        const char* target;
        const char* words;
        bool in_probe;
    } rows[] = {
        {"OCIEnvCreate", "Failed to wait oracle session initialization", false},
        {"OCIServerAttach", "Failed to wait oracle session initialization", false},
        {"OCISessionBegin", "Failed to wait oracle session initialization", false},
        {"SELECT STATUS FROM V$INSTANCE", "Failed to wait checking if oracle instance is opened",
         true},
        {"SELECT DATABASE_STATUS FROM V$INSTANCE",
         "Failed to wait checking if oracle instance is opened", true},
    };
    write();
    module_t module;
    ASSERT_EQ(module.init(log_name).code, ORALIB_OK);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.target);
        sandbox::set_fault(folder, "BBB", sandbox::hang(row.target));
        const auto begin = clock_t::now();
        const answer_t answer = module.explore();
        const auto spent = clock_t::now() - begin;
        ASSERT_EQ(answer.code, ORALIB_OK) << answer.error;
        EXPECT_GE(spent, std::chrono::milliseconds(990));
        EXPECT_LT(spent, std::chrono::milliseconds(2500));
        const document_t document(answer.result);
        EXPECT_EQ(document.attribute("home/database[AAA]", "isError"), "false");
        EXPECT_EQ(document.attribute("home/database[CCC]", "isError"), "false");
        EXPECT_NE(document.attribute("home/database[BBB]", "errorDescription").find(row.words),
                  std::string::npos);
        sandbox::clear_faults(folder);

        const document_t again(module.explore().result);
        EXPECT_EQ(again.attribute("home/database[BBB]", "isError"), "false");
    }
}

TEST_F(Hang, TheThreadGivenUpOnNeverCallsTheClientAgain) {
    expect_in_log("Failed to gather database props for SID: BBB");
    sandbox::set_fault(folder, "BBB", sandbox::hang("OCISessionBegin"));
    explore();
    const std::size_t calls = journal_calls_of_threads_that("OCISessionBegin");
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(journal_calls_of_threads_that("OCISessionBegin"), calls);
}

TEST_F(Hang, LeavesNoHandleBehind) {
    if (!machine_t::is_layered()) {
        GTEST_SKIP() << "handles are counted by the layer";
    }
    expect_in_log("Failed to gather database props for SID: BBB");
    const std::filesystem::path report = folder / "handles.txt";
    sandbox::set_environment("ORALIB_HANDLE_REPORT", report.u8string());
    sandbox::set_fault(folder, "BBB", sandbox::hang("OCIServerAttach"));
    explore();
    EXPECT_EQ(read_file(report),
              "events=0 files=0 keys=0 pipes=0 processes=0 threads=0 tokens=0\n");
    sandbox::set_environment("ORALIB_HANDLE_REPORT", "");
}

TEST_F(Hang, TheModuleUnloadsAndTheProcessEnds) {
    constexpr int some_unread = 3;
    write();
    // What the thread that is ended held is lost.
    sandbox::set_environment("ASAN_OPTIONS", "detect_leaks=0");
    for (int round = 0; round < 5; ++round) {
        sandbox::set_fault(folder, "BBB", sandbox::hang("OCIServerAttach"));
        EXPECT_EQ(run_command(HOST_PROGRAM " explore --xml > " NULL_DEVICE), some_unread);
        sandbox::clear_faults(folder);
    }
}

TEST_F(Hang, AFaultInTheClientIsTheInstancesOwn) {
    const auto before = std::signal(SIGSEGV, SIG_DFL);
    std::signal(SIGSEGV, before);
    expect_in_log("SEH exception has occurred while initializing Oracle session, exception code: ");
    expect_in_log("Failed to gather database props for SID: BBB");
    const struct {
        sandbox::fault_t fault;
        const char* code;
    } rows[] = {
        {sandbox::crash("OCIServerAttach"), "0xc0000005"},
        {{"OCISessionBegin", 1, sandbox::fault_kind::divide, 0, ""}, "0xc0000094"},
    };
    for (const auto& row : rows) {
        clear_log();
        sandbox::set_fault(folder, "BBB", row.fault);
        const document_t document(explore().result);
        EXPECT_EQ(document.attribute("home/database[AAA]", "isError"), "false");
        EXPECT_EQ(document.attribute("home/database[CCC]", "isError"), "false");
        EXPECT_NE(document.attribute("home/database[BBB]", "errorDescription")
                      .find("Failed to create oracle session holder. Session is invalid."),
                  std::string::npos);
        EXPECT_EQ(count_in_log(row.code), 1u);
        sandbox::clear_faults(folder);
    }
    EXPECT_EQ(std::signal(SIGSEGV, SIG_DFL), before) << "the host's handler is as it was";
}

}  // namespace
}  // namespace road
