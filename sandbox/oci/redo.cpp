#include "sandbox/oci/redo.h"

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "sandbox/oci/errors.h"
#include "sandbox/oci/functions.h"
#include "sandbox/paths.h"
#include "sandbox/schema.h"

namespace sandbox::oci {

namespace fs = std::filesystem;

namespace {

constexpr std::int64_t block_size = 512;

void require_open(const execution_t& execution) {
    if (execution.instance.is_asm) {
        fail(15000, "command disallowed by current instance type");
    }
    if (execution.status.state != state_t::open) {
        fail(1109, "database not open");
    }
    if (execution.status.read_only) {
        fail(16000, "database or pluggable database open for read-only access");
    }
}

std::string value_of(const execution_t& execution, const char* sql) {
    query_t query(execution.instance.database, sql);
    return query.step() ? query.text(0) : "";
}

std::int64_t number_of(const execution_t& execution, const char* sql) {
    query_t query(execution.instance.database, sql);
    return query.step() ? query.number(0) : 0;
}

bool in_archive_log_mode(const execution_t& execution) {
    return value_of(execution, "SELECT log_mode FROM sandbox_instance") == "ARCHIVELOG";
}

// The next SCN; time passes between any two of them.
std::int64_t next_scn(const execution_t& execution) {
    execution.instance.database.execute(
        "UPDATE sandbox_instance SET current_scn = current_scn + 17");
    return number_of(execution, "SELECT current_scn FROM sandbox_instance");
}

void checkpoint(const execution_t& execution, std::int64_t scn) {
    query_t(execution.instance.database,
            "UPDATE sandbox_datafile SET checkpoint_change = ?, checkpoint_time = ? "
            "WHERE backup_change IS NULL")
        .bind(1, scn)
        .bind(2, local_time(execution.instance))
        .run();
}

std::string archive_name(const execution_t& execution, std::int64_t sequence) {
    std::string folder =
        value_of(execution, "SELECT VALUE FROM V$PARAMETER WHERE NAME = 'log_archive_dest_1'");
    folder.erase(0, folder.find('=') + 1);
    char name[64];
    std::snprintf(name, sizeof name, "ARC%010lld_1158053400.0001",
                  static_cast<long long>(sequence));
    return folder + (is_asm_path(folder) ? "/" : "\\") + name;
}

// A recovery area that the archived logs lie in fills up with them.
void take_space(const execution_t& execution, const std::string& name, std::int64_t bytes) {
    query_t area(execution.instance.database,
                 "SELECT NAME, SPACE_LIMIT - SPACE_USED FROM V$RECOVERY_FILE_DEST");
    if (!area.step() || to_upper(name).rfind(to_upper(area.text(0)), 0) != 0) {
        return;
    }
    if (area.number(1) < bytes) {
        fail(257, "archiver error. Connect internal only, until freed.");
    }
    query_t(execution.instance.database,
            "UPDATE V$RECOVERY_FILE_DEST SET SPACE_USED = SPACE_USED + ?1, "
            "NUMBER_OF_FILES = NUMBER_OF_FILES + CASE WHEN ?1 < 0 THEN -1 ELSE 1 END")
        .bind(1, bytes)
        .run();
}

void write_log(const execution_t& execution, const std::string& name, std::int64_t bytes) {
    const fs::path file = execution.instance.native(name);
    std::error_code ignored;
    fs::create_directories(file.parent_path(), ignored);
    std::string content(static_cast<std::size_t>(bytes), '\0');
    const std::string mark = name + "\n";
    for (std::size_t i = 0; i < content.size(); ++i) {
        content[i] = mark[i % mark.size()];
    }
    std::ofstream stream(file, std::ios::binary);
    stream << content;
    if (!stream.flush()) {
        fail(19504, "failed to create file \"" + name + "\"");
    }
}

}  // namespace

void refuse_in_backup_mode(const execution_t& execution, int code, const std::string& before,
                           const std::string& behind) {
    query_t file(execution.instance.database,
                 "SELECT file, name FROM sandbox_datafile WHERE backup_change IS NOT NULL "
                 "ORDER BY file LIMIT 1");
    if (file.step()) {
        fail(code, before + "file " + file.text(0) + behind,
             ora_line(1110, "data file " + file.text(0) + ": '" + file.text(1) + "'"));
    }
}

void begin_backup(const execution_t& execution) {
    require_open(execution);
    transaction_t transaction(execution.instance.database);
    if (!in_archive_log_mode(execution)) {
        fail(1123, "cannot start online backup; media recovery not enabled");
    }
    refuse_in_backup_mode(execution, 1146, "cannot start online backup - ",
                          " is already in backup");
    const std::int64_t scn = next_scn(execution);
    checkpoint(execution, scn);
    query_t(execution.instance.database,
            "UPDATE sandbox_datafile SET backup_change = ?, backup_time = ? "
            "WHERE status = 'ONLINE'")
        .bind(1, scn)
        .bind(2, local_time(execution.instance))
        .run();
    transaction.commit();
}

void end_backup(const execution_t& execution) {
    if (execution.status.state < state_t::mounted) {
        fail(1507, "database not mounted");
    }
    transaction_t transaction(execution.instance.database);
    if (number_of(execution,
                  "SELECT COUNT(*) FROM sandbox_datafile "
                  "WHERE backup_change IS NOT NULL") == 0) {
        fail(1142, "cannot end online backup - none of the files are in backup");
    }
    execution.instance.database.execute(
        "UPDATE sandbox_datafile SET backup_change = NULL, backup_time = NULL");
    if (execution.status.state == state_t::open) {
        checkpoint(execution, next_scn(execution));
    }
    transaction.commit();
}

void switch_log(const execution_t& execution) {
    require_open(execution);
    if (!in_archive_log_mode(execution)) {
        fail(258, "manual archiving in NOARCHIVELOG mode must identify log");
    }
    transaction_t transaction(execution.instance.database);
    const database_t& database = execution.instance.database;
    query_t current(database,
                    "SELECT [GROUP#], [SEQUENCE#], [FIRST_CHANGE#], FIRST_TIME FROM V$LOG "
                    "WHERE STATUS = 'CURRENT'");
    if (!current.step()) {
        fail(313, "open failed for members of log group");
    }
    const std::int64_t group = current.number(0);
    const std::int64_t sequence = current.number(1);
    const std::int64_t first_change = current.number(2);
    const std::string first_time = current.text(3);
    current.reset();

    const std::int64_t scn = next_scn(execution);
    const std::string now = local_time(execution.instance);
    const std::int64_t blocks = 40 + sequence % 25;
    const std::string name = archive_name(execution, sequence);
    take_space(execution, name, blocks * block_size);
    write_log(execution, name, blocks * block_size);
    query_t(database,
            "INSERT INTO V$ARCHIVED_LOG(RECID, STAMP, NAME, DEST_ID, [THREAD#], [SEQUENCE#], "
            "[RESETLOGS_CHANGE#], [FIRST_CHANGE#], FIRST_TIME, [NEXT_CHANGE#], NEXT_TIME, BLOCKS, "
            "BLOCK_SIZE, CREATOR, STANDBY_DEST, ARCHIVED, APPLIED, DELETED, STATUS, "
            "COMPLETION_TIME) VALUES((SELECT IFNULL(MAX(RECID), 0) + 1 FROM V$ARCHIVED_LOG), ?1, "
            "?2, 1, 1, ?3, (SELECT resetlogs_change FROM sandbox_instance), ?4, ?5, ?6, ?7, ?8, "
            "?9, 'ARCH', 'NO', 'YES', 'NO', 'NO', 'A', ?7)")
        .bind(1, stamp_of(now))
        .bind(2, name)
        .bind(3, sequence)
        .bind(4, first_change)
        .bind(5, first_time)
        .bind(6, scn)
        .bind(7, now)
        .bind(8, blocks)
        .bind(9, block_size)
        .run();
    // Round the groups; what the next one held has been archived before.
    query_t(database, "UPDATE V$LOG SET STATUS = 'ACTIVE', ARCHIVED = 'YES' WHERE [GROUP#] = ?")
        .bind(1, group)
        .run();
    query_t(database,
            "UPDATE V$LOG SET STATUS = 'CURRENT', ARCHIVED = 'NO', [SEQUENCE#] = ?1, "
            "[FIRST_CHANGE#] = ?2, FIRST_TIME = ?3 WHERE [GROUP#] = IFNULL((SELECT MIN([GROUP#]) "
            "FROM V$LOG WHERE [GROUP#] > ?4), 1)")
        .bind(1, sequence + 1)
        .bind(2, scn)
        .bind(3, now)
        .bind(4, group)
        .run();
    checkpoint(execution, scn);
    transaction.commit();
}

void archive_all(const execution_t& execution) {
    require_open(execution);
    fail(271, "there are no logs that need archiving");
}

void delete_archived_log(const execution_t& execution, const std::string& rec_id,
                         const std::string& stamp) {
    transaction_t transaction(execution.instance.database);
    const database_t& database = execution.instance.database;
    query_t log(database,
                "SELECT NAME, BLOCKS * BLOCK_SIZE FROM V$ARCHIVED_LOG WHERE RECID = ? AND "
                "STAMP = ? AND STATUS <> 'D'");
    log.bind(1, rec_id).bind(2, stamp);
    if (!log.step()) {
        fail(19571,
             "archived log recid " + rec_id + " stamp " + stamp + " not found in control file");
    }
    const std::string name = log.text(0);
    const std::int64_t bytes = log.number(1);
    log.reset();
    std::error_code error;
    fs::remove(execution.instance.native(name), error);
    if (error) {
        fail(19606, "cannot delete file \"" + name + "\"");
    }
    take_space(execution, name, -bytes);
    query_t(database,
            "UPDATE V$ARCHIVED_LOG SET STATUS = 'D', DELETED = 'YES', NAME = NULL "
            "WHERE RECID = ? AND STAMP = ?")
        .bind(1, rec_id)
        .bind(2, stamp)
        .run();
    transaction.commit();
}

}  // namespace sandbox::oci
