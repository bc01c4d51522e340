// Archived logs: staged, listed, removed, and deleted by age and size.
#include <algorithm>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <sstream>

#include "road/road.h"

namespace road {
namespace {

using strings_t = std::vector<std::string>;

const std::string home = home19().path;

class Logs : public Road {
  protected:
    Logs() {
        server.add_home(home19());
        expect_in_log("Failed to archive logs all");
    }

    std::filesystem::path staging() const {
        return machine.find("C:\\ProgramData\\Tarny\\Backup\\OracleLogBackup");
    }
    std::size_t files_in_staging() const {
        std::error_code absent;
        const std::filesystem::directory_iterator files(staging(), absent);
        return static_cast<std::size_t>(std::distance(begin(files), end(files)));
    }
    // Each described log is there, as long as its description says, and its description lies where
    // it says.
    void check_list(const std::string& list) const {
        EXPECT_EQ(validate(list, "archived-logs.xsd"), "");
        const document_t document(list);
        const strings_t paths = document.list("", "logPath");
        const strings_t sizes = document.list("", "size");
        const strings_t descriptions = document.list("", "xmlLogPath");
        for (std::size_t i = 0; i < paths.size(); ++i) {
            EXPECT_EQ(std::to_string(std::filesystem::file_size(machine.find(paths[i]))), sizes[i]);
            EXPECT_TRUE(std::filesystem::exists(machine.find(descriptions[i])));
        }
        EXPECT_EQ(std::set<std::string>(descriptions.begin(), descriptions.end()).size(),
                  descriptions.size());
    }
    void start(module_t& module) {
        write();
        ASSERT_EQ(module.init(log_name).code, ORALIB_OK);
    }
    sandbox::instance_t with_logs(const std::string& sid, int count) {
        sandbox::instance_t made = instance(sid);
        made.archived_logs.resize(static_cast<std::size_t>(count));
        return made;
    }
};

TEST_F(Logs, LogsOnDiskStayWhereTheyAre) {
    sandbox::instance_t made = with_logs("ORCL", 4);
    made.archived_logs[1].status = "D";
    made.archived_logs[2].with_file = false;
    server.add_instance(home19(), made);
    module_t module;
    start(module);
    const answer_t answer = module.backup_logs(home, "ORCL", "usn-7", "");
    ASSERT_EQ(answer.code, ORALIB_OK) << answer.error;
    const document_t list(answer.result);
    check_list(answer.result);
    EXPECT_EQ(list.list("", "seqNum"), (strings_t{"1", "4", "5"}))
        << "those that have a file, and the one that the call archived";
    EXPECT_EQ(list.list("", "isLogCopied"), strings_t(3, "false"));
    EXPECT_EQ(list.list("", "creationUsn"), strings_t(3, "usn-7"));
    EXPECT_EQ(list.list("", "dbId"),
              strings_t(3, sandbox::query_sql(folder, "ORCL", "SELECT DBID FROM V$DATABASE")));
    EXPECT_EQ(files_in_staging(), 3u) << "descriptions alone";
    EXPECT_EQ(count_in_log("have no file and are left out: 1. First: [C:\\oradata\\ORCL\\"), 1u);

    const answer_t next = module.backup_logs(home, "ORCL", "usn-8", "4");
    EXPECT_EQ(document_t(next.result).list("", "seqNum"), (strings_t{"5", "6"}));
    EXPECT_EQ(document_t(module.enum_logs().result).list("", "sid").size(), 5u);

    EXPECT_EQ(module.remove_logs(module.enum_logs().result).code, ORALIB_OK);
    EXPECT_EQ(files_in_staging(), 0u);
    check_list("<archived_logs/>");
    for (const std::string& path : list.list("", "logPath")) {
        EXPECT_TRUE(std::filesystem::exists(machine.find(path))) << "the database's own file";
    }
    EXPECT_EQ(module.enum_logs().result, "<archived_logs />");
}

TEST_F(Logs, LogsInAsmAndOfSomeSizesAreStaged) {
    sandbox::instance_t in_asm = with_logs("INASM", 2);
    in_asm.archive_folder = "+FRA/INASM/ARCHIVELOG";
    in_asm.asm_groups = {{"FRA", {{"\\\\.\\DISK0"}}}};
    server.add_instance(home19(), in_asm);
    sandbox::instance_t on_disk = with_logs("DISK", 4);
    // Beside these, 0 and the size of one piece, and one byte more or less.
    const std::uintmax_t piece = 0x80000, sizes[] = {0, piece - 1, piece, piece + 1};
    server.add_instance(home19(), on_disk);
    set("OracleStageLogsBeforeBackup", 1);
    module_t module;
    start(module);
    for (std::size_t i = 0; i < 4; ++i) {
        std::filesystem::resize_file(
            machine.find(sandbox::query_sql(
                folder, "DISK",
                "SELECT NAME FROM V$ARCHIVED_LOG WHERE RECID = " + std::to_string(i + 1))),
            sizes[i]);
    }
    for (const char* sid : {"INASM", "DISK"}) {
        const answer_t answer = module.backup_logs(home, sid, "", "");
        ASSERT_EQ(answer.code, ORALIB_OK) << answer.error;
        check_list(answer.result);
        const document_t list(answer.result);
        const strings_t paths = list.list("", "logPath");
        EXPECT_EQ(list.list("", "isLogCopied"), strings_t(paths.size(), "true"));
        EXPECT_EQ(paths.size(), sid == std::string("DISK") ? 5u : 3u);
        strings_t names = {};
        for (const std::string& path : paths) {
            EXPECT_EQ(path.find("ARC"), std::string::npos) << "no name of Oracle's in staging";
            names.push_back(path);
        }
        // Their content is that of the database's files.
        const strings_t seq = list.list("", "seqNum");
        for (std::size_t i = 0; i < paths.size(); ++i) {
            const std::string original = sandbox::query_sql(
                folder, sid, "SELECT NAME FROM V$ARCHIVED_LOG WHERE [SEQUENCE#] = " + seq[i]);
            EXPECT_EQ(read_file(machine.find(paths[i])), read_file(machine.find(original)));
        }
        EXPECT_EQ(module.remove_logs(answer.result).code, ORALIB_OK);
        EXPECT_EQ(sandbox::query_sql(folder, sid, "SELECT COUNT(*) FROM DBA_DIRECTORIES"), "0");
        EXPECT_EQ(files_in_staging(), 0u);
    }
}

TEST_F(Logs, ACopyThatFailsCostsItsLogAlone) {
    server.add_instance(home19(), with_logs("ORCL", 3));
    set("OracleStageLogsBeforeBackup", 1);
    expect_in_log("Failed to copy archived log from");
    module_t module;
    start(module);
    const std::string name =
        sandbox::query_sql(folder, "ORCL", "SELECT NAME FROM V$ARCHIVED_LOG WHERE [SEQUENCE#] = 2");
    std::filesystem::remove(machine.find(name));
    const answer_t answer = module.backup_logs(home, "ORCL", "", "");
    ASSERT_EQ(answer.code, ORALIB_OK);
    check_list(answer.result);
    EXPECT_EQ(document_t(answer.result).list("", "seqNum"), (strings_t{"1", "3", "4"}));
    EXPECT_EQ(files_in_staging(), 6u) << "no half of a copy";
}

// Whatever the disk does, what is described is there and whole.
TEST_F(Logs, NoDescriptionNamesAFileOfAnotherLength) {
    expected.clear();
    if (!machine_t::is_layered()) {
        GTEST_SKIP() << "a real disk fails when it likes";
    }
    expect_in_log("");
    sandbox::instance_t made = with_logs("ORCL", 3);
    made.archived_logs[1].blocks = 3000;  // three pieces
    server.add_instance(home19(), made);
    set("OracleStageLogsBeforeBackup", 1);
    write();
    const struct {
        const char* call;
        int error;
    } faults[] = {{"WriteFile", 112},   {"ReadFile", 23},         {"CreateFileW", 5},
                  {"GetFileSizeEx", 5}, {"CloseHandle", 6},       {"CoCreateGuid", 14},
                  {"MoveFileExW", 5},   {"FlushFileBuffers", 112}};
    std::size_t hurt = 0;
    for (const auto& fault : faults) {
        bool spent = true;
        for (int nth = 1; spent; ++nth) {
            SCOPED_TRACE(std::string(fault.call) + " " + std::to_string(nth));
            remove_folder(staging());
            sandbox::run_sql(folder, "ORCL", "DELETE FROM V$ARCHIVED_LOG WHERE RECID > 3");
            const std::filesystem::path report = folder / "handles.txt";
            std::filesystem::remove(report);
            sandbox::set_environment("ORALIB_HANDLE_REPORT", report.u8string());
            sandbox::set_environment("ORALIB_PLATFORM_FAULT", std::string(fault.call) + ":" +
                                                                  std::to_string(nth) + ":" +
                                                                  std::to_string(fault.error));
            {
                module_t module;
                module.init(log_name);
                const answer_t staged = module.backup_logs(home, "ORCL", "", "");
                const bool is_whole = staged.code == ORALIB_OK &&
                                      document_t(staged.result).list("", "seqNum").size() >= 4;
                hurt += is_whole ? 0 : 1;
                if (staged.code == ORALIB_OK) {
                    check_list(staged.result);
                }
                const answer_t listed = module.enum_logs();
                if (listed.code == ORALIB_OK) {
                    check_list(listed.result);
                }
                std::error_code absent;
                for (const auto& file : std::filesystem::directory_iterator(staging(), absent)) {
                    const auto piece = file.path().has_extension() ? file.file_size() + 1 : 0x80000;
                    EXPECT_NE(file.file_size() % piece, 0u) << "half a copy or description";
                }
            }
            spent = read_file(report).find("fault=unspent") == std::string::npos;
        }
    }
    EXPECT_GT(hurt, 20u);
    sandbox::set_environment("ORALIB_PLATFORM_FAULT", "");
    sandbox::set_environment("ORALIB_HANDLE_REPORT", "");
}

TEST_F(Logs, OnlyWhatTheListMayDeleteGoes) {
    expected.clear();
    module_t module;
    start(module);
    const auto file = [&](const char* name) {
        const std::string path =
            "C:\\ProgramData\\Tarny\\Backup\\OracleLogBackup\\" + std::string(name);
        std::filesystem::create_directories(staging());
        write_file(machine.find(path), "x");
        return path;
    };
    const auto exists = [&](const std::string& path) {
        return std::filesystem::exists(machine.find(path));
    };
    const std::string copied = file("copied"), own = file("own"), unmarked = file("unmarked"),
                      described = file("copied.xml"), named = file("named.XML");
    const auto remove = [&](const std::string& attributes) {
        return module.remove_logs("<any><one " + attributes + "/></any>").code;
    };
    EXPECT_EQ(remove("logPath=\"" + own + "\" isLogCopied=\"false\" xmlLogPath=\"" + named + "\""),
              ORALIB_OK);
    EXPECT_TRUE(exists(own));
    EXPECT_FALSE(exists(named));
    EXPECT_EQ(remove("logPath=\"" + copied + "\" isLogCopied=\"true\""), ORALIB_OK);
    EXPECT_FALSE(exists(copied));
    EXPECT_FALSE(exists(described)) << "found by the log's name";
    EXPECT_EQ(remove("logPath=\"" + unmarked + "\""), ORALIB_OK);
    EXPECT_FALSE(exists(unmarked)) << "an element without the mark names a copy";
    const std::string folder_path = "C:\\ProgramData\\Tarny\\Backup\\OracleLogBackup\\folder";
    std::filesystem::create_directories(machine.find(folder_path));
    EXPECT_EQ(remove("logPath=\"" + folder_path + "\""), ORALIB_OK);
    EXPECT_TRUE(exists(folder_path)) << "no file";
    // What cannot be deleted ends the walk.
    const std::string stuck = machine_t::is_layered() ? "/proc/version" : file("stuck");
    const std::ifstream holder(machine.find(stuck));
    EXPECT_EQ(module
                  .remove_logs("<any><one logPath=\"" + stuck + "\"/><one logPath=\"" + own +
                               "\"/></any>")
                  .code,
              ORALIB_FAILED);
    EXPECT_TRUE(exists(own));
    write_file(machine.find(file("odd.xml")), "<!-- no element -->");
    write_file(machine.find(file("empty.xml")), "");
    EXPECT_EQ(module.enum_logs().result, "<archived_logs />");
    EXPECT_EQ(module.remove_logs("<archived_logs/>").code, ORALIB_OK);
    EXPECT_EQ(module.remove_logs("<!-- nothing -->").code, ORALIB_OK);
    expect_in_log("Failed to remove oracle logs.");
    EXPECT_EQ(remove("isLogCopied=\"true\""), ORALIB_FAILED);
    EXPECT_EQ(module.remove_logs("no xml").code, ORALIB_FAILED);
    EXPECT_TRUE(exists(own));
}

// An account that a meta file of another hand may hold, in whatever spelling it is told.
TEST_F(Logs, AnAccountShowsNeitherInTheLogNorInAFailure) {
    expected.clear();
    expect_in_log("");
    server.set_host("ansi_code_page", "65001");
    module_t module;
    start(module);
    const std::string secret = distinctive_password;
    const struct {
        std::string text;
        const char* shown;
    } rows[] = {
        {"<l><restore conn=\"" + secret + "\" a=\"1\"/></l>", "conn=\"(hidden)\" a=\"1\""},
        {"<l><restore a='1'\tos_conn\n= '" + secret + "'/></l>", "os_conn=\"(hidden)\""},
        {"<l><restore a='1'conn='" + secret, "(not shown, since it holds an account)"},
        {"<l/>then <restore conn='" + secret + "'/>", "oralibRemoving oracle logs in temp: <l />"},
        {"<l><restore conn=" + secret + "/></l>", "(hidden)"},
        {"<l><one my_conn='shown' b='the conn'/></l>",
         "<l><one my_conn='shown' b='the conn'/></l>"},
        {"<l><restore conn='PHJvb3QgdT0iIiBwPSIiIC8+'/></l>", "conn=\"PHJvb3QgdT0iIiBwPSIiIC8+\""},
        {"<l><one b='the conn'", "Source content: [<l><one b='the conn']"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        const auto before = log().size();
        EXPECT_EQ(module.remove_logs(row.text).error.find(secret), std::string::npos);
        EXPECT_EQ(module.finish(row.text).error.find(secret), std::string::npos);
        EXPECT_NE(log().find(row.shown, before), std::string::npos) << log();
    }
    std::filesystem::create_directories(staging());
    write_file(staging() / "other.xml", "<restore conn='" + secret + "'/>");
    EXPECT_NE(module.enum_logs().result.find(secret), std::string::npos) << "the host's own";
    write_file(staging() / "other.xml", "<restore n='&#xe9;' conn='" + secret + "'/>");
    EXPECT_EQ(module.enum_logs().error.find(secret), std::string::npos) << "half a character";
    write_file(staging() / "other.xml", "<archived_log logPath='C:\\log' os_conn='" + secret);
    EXPECT_NE(module.enum_logs().error.find("XML error: ["), std::string::npos);
    write_file(staging() / "other.xml", "<archived_log logPath='C:\\log'");
    EXPECT_NE(module.enum_logs().error.find("Source content: [<archived_log logPath='C:\\log']"),
              std::string::npos);
}

// One catalogue and what of it must go, told by other means than the library's.
struct model_log_t {
    unsigned sequence;
    std::uint64_t bytes;
    std::int64_t age;                      // minutes since its end
    enum { sound, endless, turned } time;  // turned: it ends before it begins
};

TEST_F(Logs, RetentionAgainstAModel) {
    expected.clear();
    sandbox::instance_t made = with_logs("ORCL", 12);
    for (auto& log : made.archived_logs) {
        log.with_file = false;
    }
    server.set_host("time_zone_bias", "0");
    server.add_instance(home19(), made);
    expect_in_log("Failed to remove log");
    module_t module;
    start(module);
    std::mt19937 random(20240501);
    const auto pick = [&](int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(random);
    };
    const int rounds = machine_t::is_layered() ? 1000 : 60;
    for (int round = 0; round < rounds; ++round) {
        SCOPED_TRACE(round);
        std::vector<model_log_t> logs;
        std::string sql = "DELETE FROM V$ARCHIVED_LOG; ";
        for (int i = 0; i < 12; ++i) {
            model_log_t log{static_cast<unsigned>(pick(1, 30)),
                            static_cast<std::uint64_t>(pick(0, 5)) * 512, pick(-60, 600),
                            model_log_t::sound};
            if (pick(0, 9) == 0) {
                log.time = pick(0, 1) == 0 ? model_log_t::endless : model_log_t::turned;
            }
            while (std::any_of(logs.begin(), logs.end(), [&](const model_log_t& other) {
                return other.sequence == log.sequence;
            })) {
                ++log.sequence;
            }
            logs.push_back(log);
            const std::string end = "datetime('now', '" + std::to_string(-log.age) + " minutes')";
            sql +=
                "INSERT INTO V$ARCHIVED_LOG(RECID, STAMP, NAME, [THREAD#], [SEQUENCE#], "
                "[RESETLOGS_CHANGE#], [FIRST_CHANGE#], FIRST_TIME, [NEXT_CHANGE#], NEXT_TIME, "
                "BLOCKS, BLOCK_SIZE, CREATOR, STATUS) VALUES(" +
                std::to_string(log.sequence) + ", 1, 'C:\\absent\\" + std::to_string(log.sequence) +
                "', 1, " + std::to_string(log.sequence) + ", 1, 1, datetime(" + end +
                (log.time == model_log_t::turned ? ", '1 minute'), 2, " : ", '-5 minutes'), 2, ") +
                (log.time == model_log_t::endless ? "NULL" : end) + ", " +
                std::to_string(log.bytes / 512) + ", 512, 'ARCH', 'A'); ";
        }
        sandbox::run_sql(folder, "ORCL", sql);
        std::set<std::string> kept;
        if (round % 2 == 0) {
            // A minute's distance from any end keeps the clock out of it.
            const int minutes = pick(0, 500);
            for (const model_log_t& log : logs) {
                if (log.age <= minutes || log.time != model_log_t::sound) {
                    kept.insert(std::to_string(log.sequence));
                }
            }
            if (std::any_of(logs.begin(), logs.end(),
                            [&](const model_log_t& log) { return log.age == minutes; })) {
                continue;
            }
            ASSERT_EQ(module.delete_logs_by_time(home, "ORCL", minutes).code, ORALIB_OK);
        } else {
            const std::int64_t limit = pick(0, 30) * 512;
            std::sort(logs.begin(), logs.end(), [](const model_log_t& a, const model_log_t& b) {
                return a.sequence > b.sequence;
            });
            std::int64_t before = 0;  // bytes of all newer ones
            for (const model_log_t& log : logs) {
                if (log.time == model_log_t::endless) {
                    kept.insert(std::to_string(log.sequence));  // a row with a NULL is not seen
                    continue;
                }
                if (before <= limit) {
                    kept.insert(std::to_string(log.sequence));
                }
                before += static_cast<std::int64_t>(log.bytes);
            }
            ASSERT_EQ(module.delete_logs_by_size(home, "ORCL", limit).code, ORALIB_OK);
        }
        std::istringstream sequences(sandbox::query_sql(
            folder, "ORCL",
            "SELECT GROUP_CONCAT([SEQUENCE#], ' ') FROM V$ARCHIVED_LOG WHERE STATUS = 'A'"));
        const std::set<std::string> left{std::istream_iterator<std::string>(sequences), {}};
        ASSERT_EQ(left, kept);
    }

    // Oracle refuses one; the others still go.
    sandbox::run_sql(folder, "ORCL",
                     "UPDATE V$ARCHIVED_LOG SET STATUS = 'A', NAME = 'C:\\x', BLOCKS = 1, "
                     "NEXT_TIME = FIRST_TIME");
    ASSERT_EQ(module.delete_logs_by_time(home, "ORCL", INT32_MAX).code, ORALIB_OK)
        << "before all time";
    sandbox::set_fault(folder, "ORCL", sandbox::ora("%DELETEARCHIVEDLOG%", 19606, 3));
    ASSERT_EQ(module.delete_logs_by_size(home, "ORCL", 0).code, ORALIB_OK);
    EXPECT_EQ(sandbox::query_sql(folder, "ORCL",
                                 "SELECT COUNT(*) FROM V$ARCHIVED_LOG WHERE STATUS = 'A'"),
              "2");
}

TEST_F(Logs, ADatabaseThatIsNotOpenIsLeftAlone) {
    expected.clear();
    sandbox::instance_t made = with_logs("ORCL", 2);
    made.state = sandbox::state_t::mounted;
    server.add_instance(home19(), made);
    module_t module;
    start(module);
    EXPECT_EQ(module.delete_logs_by_time(home, "ORCL", 0).code, ORALIB_OK);
    EXPECT_EQ(module.delete_logs_by_size(home, "ORCL", 0).code, ORALIB_OK);
    EXPECT_EQ(module.backup_logs(home, "ORCL", "", "").result, "<archived_logs />");
    EXPECT_EQ(sandbox::query_sql(folder, "ORCL",
                                 "SELECT COUNT(*) FROM V$ARCHIVED_LOG WHERE STATUS = 'A'"),
              "2");
}

}  // namespace
}  // namespace road
