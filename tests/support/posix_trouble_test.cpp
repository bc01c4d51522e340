// Files in trouble: calls of the platform that fail on demand.
#include <thread>

#include "platform/platform.h"
#include "platform/posix/faults.h"
#include "support/exc/exc.h"
#include "support/fixture.h"
#include "support/logging/aging.h"
#include "support/logging/scope.h"
#include "support/logging/start.h"
#include "support/logging/win_log_file.h"
#include "support/win/file.h"

namespace support_test {
namespace {

using Trouble = Machine;

// A sink in trouble logs its trouble, which would meet the same trouble.
TEST_F(Trouble, ALineThatCannotBeWrittenAtOnceIsWrittenLater) {
    logging::start_log({L"-log", L"C:\\test.log"});
    std::filesystem::resize_file(drive / "test.log", 0);
    platform::faults::arm("WriteFile", 1, ERROR_LOCK_VIOLATION);
    logging::g_oralib_log.line("the line");
    platform::faults::arm("WriteFile", 1, ERROR_DISK_FULL);
    logging::g_oralib_log.line("lost");
    logging::g_oralib_log.line("goes on");
    const std::string text = read_file(drive / "test.log");
    EXPECT_NE(text.find("oralibthe line\n"), std::string::npos);
    EXPECT_EQ(text.find("lost"), std::string::npos);
    EXPECT_NE(text.find("oralibgoes on\n"), std::string::npos);
}

// Until the new archive is whole, the log and all archives are as they were.
TEST_F(Trouble, AnArchiveThatCannotBeMadeCostsNothing) {
    const auto log = win::open_log_file(L"C:\\log\\agent.log");
    log->write(std::string(0xF00000, 'x'));
    const std::vector<std::string> archives = {"agent.1.log.gz", "agent.10.log.gz"};
    for (const std::string& name : archives) {
        write_file(drive / "log" / name, name);
    }
    const struct {
        const char* call;
        unsigned nth;
        const char* words;
    } rows[] = {
        {"MoveFileExW", 1, "Cannot age file."},
        {"MoveFileExW", 2, "Cannot age file."},
        {"CreateFileW", 1, "Failed to open GZ archive [C:\\log\\agent.log.gz].\nError code:"},
        {"ReadFile", 2, "Cannot compress log file. Log: [C:\\log\\agent.log]."},
        {"WriteFile", 1, "Cannot add data to the GZ archive [C:\\log\\agent.log.gz].\nError"},
        {"FlushFileBuffers", 1, "Cannot add data to the GZ archive"},
        {"SetEndOfFile", 1, "Unable to reset file size"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.call) + " " + std::to_string(row.nth));
        platform::faults::arm(row.call, row.nth, ERROR_DISK_FULL);
        EXPECT_NE(failure_of([&] { logging::check_size(*log); }).find(row.words),
                  std::string::npos);
        EXPECT_EQ(log->get_size(), 0xF00000u);
        for (const std::string& name : archives) {
            EXPECT_EQ(read_file(drive / "log" / name), name);
        }
        EXPECT_FALSE(std::filesystem::exists(drive / "log/agent.10.log.gz.old"));
        EXPECT_FALSE(std::filesystem::exists(drive / "log/agent.log.gz"));
    }
    log->write("y");
    EXPECT_EQ(read_file(drive / "log/agent.log").substr(0xF00000 - 1), "xy");
}

TEST_F(Trouble, AWriteWaitsForNothingButALockedRange) {
    const auto file = win::win_file_t::create_or_open(L"C:\\locked");
    platform::faults::arm("WriteFile", 1, ERROR_DISK_FULL);
    EXPECT_NE(failure_of([&] { file->write("more", 4); })
                  .find("Failed to write data to the file [C:\\locked].\n--tr:Error code: "
                        "0x00000070"),
              std::string::npos);
}

TEST_F(Trouble, ALockThatGoesInTimeAndOneThatStays) {
    const auto file = win::win_file_t::create_or_open(L"C:\\locked");
    platform::faults::arm_all("WriteFile", ERROR_LOCK_VIOLATION);
    std::thread unlocker([&] {
        Sleep(250);
        platform::faults::disarm();
    });
    EXPECT_NO_THROW(file->write("text", 4));
    unlocker.join();
    EXPECT_EQ(read_file(drive / "locked"), "text");

    platform::faults::disarm();
    platform::faults::arm_all("WriteFile", ERROR_LOCK_VIOLATION);
    EXPECT_NE(failure_of([&] { file->write("more", 4); })
                  .find("Failed to write 4 bytes to the file 'C:\\locked': 0 bytes were written "
                        "instead\n--tr:Error code: 0x00000021"),
              std::string::npos);
    EXPECT_EQ(platform::faults::calls("WriteFile"), 50u);
    platform::faults::disarm();
}

}  // namespace
}  // namespace support_test
