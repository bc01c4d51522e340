#include "host/log_watch.h"

#include <gtest/gtest.h>

namespace {

// As the module writes it, with the text of one message of Oracle's or one name in the middle.
std::string log_of(const std::string& middle, const std::string& end) {
    const std::string head = "[24.11.2026 01:40:22] <  1475> oralib";
    return head + "Finish dbs backup\n" + head + "  Finish db backup. Sid: DEV, action: backup\n" +
           head + "  Finish db backup. Sid: DEV, action: backup ok.\n" + head +
           "  Finish db backup. Sid: ORCL, action: backup, autostart: true\n" + middle + head +
           "  Finish db backup. Sid: ORCL, action: backup, autostart: true" + end + "\n";
}

TEST(HostLogWatch, NoTextFromOutsideMakesASign) {
    const std::string own = "[24.11.2026 01:40:22] <  1475> oralib";
    const std::string probe = "[24.11.2026 01:40:22] <  1564> oralib";
    const std::string failed =
        " Failed.\n" + own + "ERR |  Failed to finish db backup. Sid: ORCL\n";
    const std::string ended = "Exec oracle query: ALTER DATABASE END BACKUP\n";
    const std::string ok = "Finish db backup. Sid: ORCL, action: backup, autostart: true ok.\n";
    const std::string none = "Oracle error has occurred. ORA-01142: cannot end\n";
    const struct {
        std::string middle;
        std::string end;
        bool was_ended;
        bool came_to_its_end;
        bool was_in_none;
    } rows[] = {
        {own + "    " + ended, " ok.", true, true, false},
        {own + "    " + ended, failed + own + ">>  |  " + none, true, false, true},
        {"", " ok.", false, true, false},
        // behind a line feed, deeper or on another thread
        {own + "      Oracle query result\n" + own + "      " + ended, " Failed.", false, false,
         false},
        {probe + "    " + ended + probe + "  " + ok, " Failed.", false, false, false},
        {own + "WARN|    x\n" + own + ">>  |    " + ended + own + ">>  |  " + ok, " Failed.", false,
         false, false},
        {own + "    x" + ended + own + "    " + ok, " Failed.", false, false, false},
        {"", failed + own + ">>  |  Oracle error. ORA-1\n" + own + ">>  |  " + none, false, false,
         false},
    };
    for (const auto& row : rows) {
        const host::finish_log_t log = host::read_finish_log(log_of(row.middle, row.end), "ORCL");
        SCOPED_TRACE(row.middle + row.end);
        EXPECT_EQ(log.backup_was_ended, row.was_ended);
        EXPECT_EQ(log.came_to_its_end, row.came_to_its_end);
        EXPECT_EQ(log.was_in_no_backup_mode, row.was_in_none);
    }
}

}  // namespace
