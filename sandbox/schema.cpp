#include "sandbox/schema.h"

#include <cstdio>
#include <cstdlib>

namespace sandbox {

namespace {

struct relation_t {
    const char* name;
    int since;  // the first major version that has it
    state_t readable_from;
    const char* columns;        // of a table, or the select list of a view
    const char* later_columns;  // those of version 12 and later, empty if none
    const char* source;         // of a view, null for a table
};

// The states are numbers: 0 down, 1 started, 2 mounted, 3 open.
const char* const internal_tables = R"(
CREATE TABLE sandbox_instance(
    sid TEXT, home TEXT, parameter_folder TEXT, host TEXT, kind TEXT, version TEXT,
    state INTEGER, read_only INTEGER, opens_read_only INTEGER, closed INTEGER DEFAULT 0,
    stopping INTEGER DEFAULT 0, startups INTEGER DEFAULT 1, startup_time TEXT,
    open_status TEXT DEFAULT 'OPEN', database_status TEXT DEFAULT 'ACTIVE',
    dbid INTEGER, name TEXT, unique_name TEXT, domain TEXT, created TEXT, log_mode TEXT, cdb TEXT,
    resetlogs_change INTEGER, resetlogs_time TEXT, current_scn INTEGER);
CREATE TABLE sandbox_datafile(
    file INTEGER PRIMARY KEY, name TEXT, bytes INTEGER, status TEXT, checkpoint_change INTEGER,
    checkpoint_time TEXT, backup_change INTEGER, backup_time TEXT, container INTEGER);
CREATE TABLE sandbox_pdb(
    container INTEGER PRIMARY KEY, dbid INTEGER, name TEXT, guid TEXT, mode TEXT, saved_mode TEXT);
CREATE TABLE sandbox_user(name TEXT PRIMARY KEY, password TEXT, sysdba INTEGER, expires INTEGER);
CREATE TABLE sandbox_fault(
    id INTEGER PRIMARY KEY, target TEXT, nth INTEGER DEFAULT 1, hits INTEGER DEFAULT 0, kind TEXT,
    value INTEGER DEFAULT 0, text TEXT);
)";

const relation_t relations[] = {
    {"DUAL", 0, state_t::started, "DUMMY TEXT", "", nullptr},
    {"V$INSTANCE", 0, state_t::started,
     "1 INSTANCE_NUMBER, sid INSTANCE_NAME, host HOST_NAME, version VERSION, "
     "startup_time STARTUP_TIME, CASE state WHEN 1 THEN 'STARTED' WHEN 2 THEN 'MOUNTED' "
     "ELSE open_status END STATUS, 'NO' PARALLEL, 1 \"THREAD#\", "
     "CASE WHEN log_mode = 'ARCHIVELOG' AND state > 1 THEN 'STARTED' ELSE 'STOPPED' END ARCHIVER, "
     "'ALLOWED' LOGINS, CASE stopping WHEN 0 THEN 'NO' ELSE 'YES' END SHUTDOWN_PENDING, "
     "database_status DATABASE_STATUS, 'PRIMARY_INSTANCE' INSTANCE_ROLE, 'NORMAL' ACTIVE_STATE",
     "0 CON_ID", "sandbox_instance WHERE state > 0"},
    {"V$VERSION", 0, state_t::started, "BANNER TEXT", "CON_ID INTEGER DEFAULT 0", nullptr},
    {"V$PARAMETER", 0, state_t::started,
     "NUM INTEGER, NAME TEXT, TYPE INTEGER, VALUE TEXT, DISPLAY_VALUE TEXT, ISDEFAULT TEXT",
     "CON_ID INTEGER DEFAULT 0", nullptr},
    {"V$ASM_DISKGROUP", 0, state_t::started,
     "GROUP_NUMBER INTEGER, NAME TEXT, SECTOR_SIZE INTEGER, BLOCK_SIZE INTEGER, STATE TEXT, "
     "TYPE TEXT, TOTAL_MB INTEGER, FREE_MB INTEGER",
     "", nullptr},
    {"V$ASM_DISK", 0, state_t::started,
     "GROUP_NUMBER INTEGER, DISK_NUMBER INTEGER, MOUNT_STATUS TEXT, HEADER_STATUS TEXT, "
     "MODE_STATUS TEXT, STATE TEXT, TOTAL_MB INTEGER, FREE_MB INTEGER, NAME TEXT, PATH TEXT",
     "", nullptr},
    {"V$DATABASE", 0, state_t::mounted,
     "dbid DBID, name NAME, created CREATED, resetlogs_change \"RESETLOGS_CHANGE#\", "
     "resetlogs_time RESETLOGS_TIME, log_mode LOG_MODE, 'CURRENT' CONTROLFILE_TYPE, "
     "(SELECT MIN(checkpoint_change) FROM sandbox_datafile) \"CHECKPOINT_CHANGE#\", "
     "CASE WHEN state < 3 THEN 'MOUNTED' WHEN read_only THEN 'READ ONLY' ELSE 'READ WRITE' END "
     "OPEN_MODE, 'PRIMARY' DATABASE_ROLE, 'NO' FLASHBACK_ON, current_scn CURRENT_SCN, "
     "unique_name DB_UNIQUE_NAME, 'Microsoft Windows x86 64-bit' PLATFORM_NAME",
     "cdb CDB, 0 CON_ID", "sandbox_instance"},
    {"V$PDBS", 12, state_t::mounted,
     "container CON_ID, dbid DBID, name NAME, guid GUID, mode OPEN_MODE, 'NO' RESTRICTED", "",
     "sandbox_pdb ORDER BY container"},
    {"V$DATAFILE", 0, state_t::mounted,
     "file \"FILE#\", CASE WHEN file = 1 THEN 'SYSTEM' ELSE status END STATUS, "
     "'READ WRITE' ENABLED, checkpoint_change \"CHECKPOINT_CHANGE#\", "
     "checkpoint_time CHECKPOINT_TIME, bytes BYTES, bytes / 8192 BLOCKS, 8192 BLOCK_SIZE, "
     "name NAME",
     "container CON_ID", "sandbox_datafile ORDER BY file"},
    {"V$DATAFILE_HEADER", 0, state_t::mounted,
     "file \"FILE#\", f.status STATUS, 'NO' RECOVER, CASE WHEN backup_change IS NOT NULL OR "
     "(i.state = 3 AND NOT i.read_only) THEN 'YES' ELSE 'NO' END FUZZY, "
     "checkpoint_change \"CHECKPOINT_CHANGE#\", checkpoint_time CHECKPOINT_TIME, f.name NAME, "
     "bytes BYTES",
     "container CON_ID", "sandbox_datafile f, sandbox_instance i ORDER BY file"},
    {"V$BACKUP", 0, state_t::mounted,
     "file \"FILE#\", CASE WHEN backup_change IS NULL THEN 'NOT ACTIVE' ELSE 'ACTIVE' END STATUS, "
     "IFNULL(backup_change, 0) \"CHANGE#\", backup_time TIME",
     "container CON_ID", "sandbox_datafile ORDER BY file"},
    {"V$TEMPFILE", 0, state_t::mounted,
     "[FILE#] INTEGER, STATUS TEXT, ENABLED TEXT, BYTES INTEGER, BLOCK_SIZE INTEGER, NAME TEXT",
     "CON_ID INTEGER DEFAULT 0", nullptr},
    {"V$CONTROLFILE", 0, state_t::mounted,
     "STATUS TEXT, NAME TEXT, IS_RECOVERY_DEST_FILE TEXT, BLOCK_SIZE INTEGER, "
     "FILE_SIZE_BLKS INTEGER",
     "CON_ID INTEGER DEFAULT 0", nullptr},
    {"V$LOG", 0, state_t::mounted,
     "[GROUP#] INTEGER, [THREAD#] INTEGER, [SEQUENCE#] INTEGER, BYTES INTEGER, MEMBERS INTEGER, "
     "ARCHIVED TEXT, STATUS TEXT, [FIRST_CHANGE#] INTEGER, FIRST_TIME TEXT",
     "CON_ID INTEGER DEFAULT 0", nullptr},
    {"V$LOGFILE", 0, state_t::mounted,
     "[GROUP#] INTEGER, STATUS TEXT, TYPE TEXT, MEMBER TEXT, IS_RECOVERY_DEST_FILE TEXT",
     "CON_ID INTEGER DEFAULT 0", nullptr},
    {"V$ARCHIVED_LOG", 0, state_t::mounted,
     "RECID INTEGER, STAMP INTEGER, NAME TEXT, DEST_ID INTEGER, [THREAD#] INTEGER, "
     "[SEQUENCE#] INTEGER, [RESETLOGS_CHANGE#] INTEGER, [FIRST_CHANGE#] INTEGER, FIRST_TIME TEXT, "
     "[NEXT_CHANGE#] INTEGER, NEXT_TIME TEXT, BLOCKS INTEGER, BLOCK_SIZE INTEGER, CREATOR TEXT, "
     "STANDBY_DEST TEXT, ARCHIVED TEXT, APPLIED TEXT, DELETED TEXT, STATUS TEXT, "
     "COMPLETION_TIME TEXT",
     "CON_ID INTEGER DEFAULT 0", nullptr},
    {"V$RECOVERY_FILE_DEST", 0, state_t::mounted,
     "NAME TEXT, SPACE_LIMIT INTEGER, SPACE_USED INTEGER, SPACE_RECLAIMABLE INTEGER, "
     "NUMBER_OF_FILES INTEGER",
     "CON_ID INTEGER DEFAULT 0", nullptr},
    {"V$RESTORE_POINT", 0, state_t::mounted,
     "SCN INTEGER, GUARANTEE_FLASHBACK_DATABASE TEXT, STORAGE_SIZE INTEGER, TIME TEXT, NAME TEXT",
     "CON_ID INTEGER DEFAULT 0", nullptr},
    {"DBA_DIRECTORIES", 0, state_t::open,
     "OWNER TEXT DEFAULT 'SYS', DIRECTORY_NAME TEXT, DIRECTORY_PATH TEXT", "", nullptr},
};

}  // namespace

int major_version(const std::string& version) {
    return std::atoi(version.c_str());
}

std::int64_t stamp_of(const std::string& time) {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    std::sscanf(time.c_str(), "%d-%d-%d %d:%d:%d", &year, &month, &day, &hour, &minute, &second);
    const std::int64_t days = ((year - 1988) * 12LL + month - 1) * 31 + day - 1;
    return ((days * 24 + hour) * 60 + minute) * 60 + second;
}

void create_schema(database_t& database, int major) {
    std::string sql = internal_tables;
    for (const relation_t& relation : relations) {
        if (major < relation.since) {
            continue;
        }
        std::string columns = relation.columns;
        if (major >= 12 && *relation.later_columns) {
            columns += std::string(", ") + relation.later_columns;
        }
        if (relation.source) {
            sql += std::string("CREATE VIEW ") + relation.name + " AS SELECT " + columns +
                   " FROM " + relation.source + ";\n";
        } else {
            sql += std::string("CREATE TABLE ") + relation.name + "(" + columns + ");\n";
        }
    }
    database.execute(sql);
}

state_t readable_from(const std::string& upper_case_name) {
    for (const relation_t& relation : relations) {
        if (upper_case_name == relation.name) {
            return relation.readable_from;
        }
    }
    return state_t::down;
}

state_t read_state(const database_t& database) {
    query_t query(database, "SELECT state FROM sandbox_instance");
    return query.step() ? static_cast<state_t>(query.number(0)) : state_t::down;
}

void enter_state(database_t& database, state_t state, bool read_only) {
    query_t(database,
            "UPDATE sandbox_instance SET startups = startups + (state = 0 AND ?1 > 0), "
            "closed = CASE ?1 WHEN 0 THEN 0 ELSE closed END, "
            "stopping = CASE ?1 WHEN 0 THEN 0 ELSE stopping END, read_only = ?2, state = ?1")
        .bind(1, static_cast<int>(state))
        .bind(2, read_only ? 1 : 0)
        .run();
    database.execute(
        state != state_t::open
            ? "UPDATE sandbox_pdb SET mode = 'MOUNTED'"
            : "UPDATE sandbox_pdb SET mode = CASE WHEN (SELECT read_only FROM sandbox_instance) "
              "AND saved_mode <> 'MOUNTED' THEN 'READ ONLY' ELSE saved_mode END");
}

}  // namespace sandbox
