// Fails each call of explore once: no crash, nothing leaked, and the promise of the export holds.
#include <chrono>
#include <cstdlib>
#include <map>
#include <sstream>
#include <thread>

#include "road/road.h"

namespace road {
namespace {

// Each exploration starts programs, which take long under Wine.
const std::uint32_t step = machine_t::is_layered() ? 1 : 4;

class Sweep : public Road {
  protected:
    Sweep() {
        expect_in_log("");  // anything may fail here
        sandbox::home_t home = home19();
        home.with_srvctl = true;
        home.name += "\xc3\xa9";  // something that a conversion has to look at
        server.add_home(home);
        sandbox::instance_t database = instance("ORCL");
        database.pdbs.resize(1);
        database.pdbs[0].name = "SALES";
        database.users = {{"backup_user", distinctive_password, true}};
        server.add_instance(home, database);
        sandbox::instance_t storage = instance("+ASM");
        storage.is_asm = true;
        storage.asm_groups = {{"DATA", {{"\\\\.\\DISK0"}}}};
        storage.users = {{"backup_user", distinctive_password, true}};
        server.add_instance(home, storage);
        set("OracleConnectionTimeout", 60);
        write();
    }

    // What holds after any single failure.
    void check(const answer_t& answer) const {
        if (answer.code == ORALIB_OK) {
            const document_t document(answer.result);
            EXPECT_EQ(validate(answer.result, "explore.xsd"), "");
            for (const std::string sid : {"ORCL", "TWIN"}) {
                const std::string path = "home/database[" + sid + "]";
                const std::string name = document.attribute(path, "name");
                EXPECT_TRUE(name.empty() || name == sid) << "another database: " << name;
            }
        } else {
            ASSERT_EQ(answer.code, ORALIB_FAILED);
            EXPECT_EQ(answer.result, nothing);
            EXPECT_NE(answer.error, nothing);
        }
        EXPECT_EQ((answer.result + answer.error).find(distinctive_password), std::string::npos);
    }
};

TEST_F(Sweep, EachCallOfTheClientFailsOnce) {
    write();
    module_t module;
    ASSERT_EQ(module.init(log_name).code, ORALIB_OK);
    const auto run = [&] { return module.explore("", true, "backup_user", distinctive_password); };
    const answer_t clean = run();
    ASSERT_EQ(clean.code, ORALIB_OK);

    std::map<std::string, std::uint32_t> counts;
    for (const sandbox::record_t& record : sandbox::read_journal(folder)) {
        counts[record.entry] += record.sid == "ORCL" ? 1u : 0u;
    }
    ASSERT_GE(counts.size(), 12u);
    unsigned failures = 0;
    for (const auto& [entry, count] : counts) {
        if (entry.rfind("OCI", 0) != 0) {
            continue;
        }
        for (std::uint32_t nth = 1; nth <= count; nth += step) {
            for (const sandbox::fault_t& fault :
                 {sandbox::ora(entry, 600, nth), sandbox::status(entry, -2, nth)}) {
                SCOPED_TRACE(entry + " " + std::to_string(nth));
                sandbox::set_fault(folder, "ORCL", fault);
                const answer_t answer = run();
                check(answer);
                ASSERT_EQ(answer.code, ORALIB_OK) << "one instance never fails the whole";
                const document_t document(answer.result);
                EXPECT_NE(document.find("home/asm[+ASM]"), nullptr);
                failures += document.attribute("home/database[ORCL]", "isError") == "true";
                sandbox::clear_faults(folder);
                sandbox::clear_journal(folder);
            }
        }
    }
    EXPECT_GT(failures, 20u / step);
    EXPECT_EQ(readable(run().result), readable(clean.result));
}

// Whatever fails between prepare and finish: once a finish has gone through, no database is in
// backup mode, and what prepare could not do stands in its document.
TEST_F(Sweep, NoFailureLeavesADatabaseInBackupMode) {
    set("OracleConnectionTimeout", 1);
    write();
    module_t module;
    ASSERT_EQ(module.init(log_name).code, ORALIB_OK);
    const auto in_backup = [&] {
        return sandbox::query_sql(folder, "ORCL",
                                  "SELECT COUNT(*) FROM V$BACKUP WHERE STATUS = 'ACTIVE'") != "0";
    };
    const auto prepare_and_finish = [&] {
        const answer_t prepared = module.prepare();
        EXPECT_EQ(prepared.code, ORALIB_OK) << "one database never fails the whole";
        const std::string action =
            document_t(prepared.result).attribute("database[ORCL]", "action");
        EXPECT_EQ(in_backup(), action == "2");
        EXPECT_EQ(module.finish(prepared.result).code, ORALIB_OK);
        return prepared.result;
    };
    prepare_and_finish();
    ASSERT_FALSE(in_backup());
    std::map<std::string, std::uint32_t> counts;
    for (const sandbox::record_t& record : sandbox::read_journal(folder)) {
        counts[record.entry] += record.sid == "ORCL" ? 1u : 0u;
    }

    std::vector<sandbox::fault_t> faults = {
        sandbox::hang("OCIServerAttach"), sandbox::hang("OCISessionBegin", 2),
        sandbox::hang("SELECT STATUS FROM V$INSTANCE"),
        sandbox::hang("SELECT DATABASE_STATUS FROM V$INSTANCE", 2)};
    for (const auto& [entry, count] : counts) {
        for (std::uint32_t nth = 1; entry.rfind("OCI", 0) == 0 && nth <= count; nth += step) {
            faults.push_back(sandbox::ora(entry, 600, nth));
            faults.push_back(sandbox::status(entry, -2, nth));
        }
    }
    unsigned left_to_the_second = 0;
    for (const sandbox::fault_t& fault : faults) {
        SCOPED_TRACE(fault.target + " " + std::to_string(fault.nth));
        leaks_expected = true;
        sandbox::set_fault(folder, "ORCL", fault);
        const auto begin = std::filesystem::file_size(log_file());
        const std::string document = prepare_and_finish();
        sandbox::clear_faults(folder);
        if (in_backup()) {
            ++left_to_the_second;
            const std::string whole = log();
            const std::string told = whole.substr(whole.size() < begin ? 0 : begin);  // aged
            EXPECT_TRUE(told.find("oralibERR |") != std::string::npos ||
                        told.find("oralibWARN|") != std::string::npos)
                << "and nobody knows\n"
                << told;
            ASSERT_EQ(module.finish(document).code, ORALIB_OK);
        }
        ASSERT_FALSE(in_backup());
        sandbox::clear_journal(folder);
    }
    EXPECT_GT(left_to_the_second, 3u);
}

TEST_F(Sweep, EachCallOfThePlatformFailsOnce) {
    if (!machine_t::is_layered()) {
        GTEST_SKIP() << "Windows' own calls do not fail on demand";
    }
    std::istringstream functions(
        "CoCreateGuid CreateDirectoryW CreateEventA CreateFileW CreatePipe CreateProcessW "
        "GetComputerNameExW GetExitCodeProcess GetFileSizeEx GetModuleFileNameA "
        "GetProcAddress GetProcessId GetTimeZoneInformation GetVersionExA LoadLibraryA "
        "MultiByteToWideChar OpenThreadToken PeekNamedPipe ReadFile RegEnumKeyExW RegOpenKeyExW "
        "RegQueryInfoKeyW RegQueryValueExA RegQueryValueExW SHGetFolderPathW SetEvent "
        "SetFilePointerEx SetHandleInformation UuidToStringW WaitForSingleObject "
        "WideCharToMultiByte WriteFile _putenv ");
    server.add_instance(home19(), instance("TWIN"));
    write();
    constexpr unsigned access_denied = 5;
    constexpr unsigned most = 40;
    const std::filesystem::path report = folder / "handles.txt";
    sandbox::set_environment("ORALIB_HANDLE_REPORT", report.u8string());
    for (std::string function; functions >> function;) {
        unsigned nth = 1;
        for (; nth <= most; ++nth) {
            SCOPED_TRACE(function + " " + std::to_string(nth));
            std::filesystem::remove(report);
            remove_folder(machine.find("C:\\ProgramData\\Tarny"));
            const std::string fault =
                function + ":" + std::to_string(nth) + ":" + std::to_string(access_denied);
            sandbox::set_environment("ORALIB_PLATFORM_FAULT", fault);
            {
                module_t module;
                const answer_t init = module.init(log_name);
                ASSERT_TRUE(init.code == ORALIB_OK || init.code == ORALIB_FAILED);
                check(module.explore("", true, "backup_user", distinctive_password));
            }
            // A thread that was given up on keeps the module until it comes back.
            for (int i = 0; i < 3000 && read_file(report).empty(); ++i) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            const std::string handles = read_file(report);
            ASSERT_NE(handles, "");
            for (const char* kind : {"events=0", "files=0", "keys=0", "pipes=0", "processes=0",
                                     "threads=0", "tokens=0"}) {
                EXPECT_NE(handles.find(kind), std::string::npos) << handles;
            }
            if (handles.find("fault=unspent") != std::string::npos) {
                break;
            }
        }
        EXPECT_GT(nth, 1u) << function << " is never called: the sweep has lost it";
    }
    sandbox::set_environment("ORALIB_PLATFORM_FAULT", "");
    sandbox::set_environment("ORALIB_HANDLE_REPORT", "");
}

}  // namespace
}  // namespace road
