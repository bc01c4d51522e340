#include "sandbox/instance_tables.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

#include "sandbox/database.h"

namespace sandbox {

namespace {

constexpr std::uint64_t mebibyte = 1048576;
constexpr std::uint64_t resetlogs_change = 1920977;
constexpr std::uint64_t first_archived_change = 2000000;
constexpr const char* created = "2024-01-15 09:30:00";

std::uint32_t hash_of(const std::string& text) {
    std::uint32_t hash = 2166136261u;
    for (const char c : text) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 16777619u;
    }
    return hash;
}

std::string guid_of(const std::string& text) {
    std::string guid;
    for (int part = 0; part < 4; ++part) {
        char digits[9];
        std::snprintf(digits, sizeof(digits), "%08X", hash_of(text + std::to_string(part)));
        guid += digits;
    }
    return guid;
}

std::string join(const std::vector<file_t>& files) {
    std::string names;
    for (const file_t& file : files) {
        names += (names.empty() ? "" : ", ") + file.name;
    }
    return names;
}

void complete_files(instance_t& instance) {
    const std::string folder = "C:\\oradata\\" + instance.sid + "\\";
    if (instance.data_files.empty()) {
        instance.data_files = {{folder + "SYSTEM01.DBF", 920 * mebibyte},
                               {folder + "SYSAUX01.DBF", 610 * mebibyte},
                               {folder + "UNDOTBS01.DBF", 340 * mebibyte},
                               {folder + "USERS01.DBF", 5 * mebibyte}};
        for (const pdb_t& pdb : instance.pdbs) {
            instance.data_files.push_back({folder + pdb.name + "\\SYSTEM01.DBF", 280 * mebibyte});
        }
    }
    if (instance.temp_files.empty()) {
        instance.temp_files = {{folder + "TEMP01.DBF", 32 * mebibyte}};
    }
    if (instance.control_files.empty()) {
        instance.control_files = {{folder + "CONTROL01.CTL", 18 * mebibyte},
                                  {folder + "CONTROL02.CTL", 18 * mebibyte}};
    }
    if (instance.redo_groups.empty()) {
        for (const char* name : {"REDO01.LOG", "REDO02.LOG", "REDO03.LOG"}) {
            instance.redo_groups.push_back({200 * mebibyte, {folder + name}});
        }
    }
}

void complete_logs(instance_t& instance) {
    std::uint64_t sequence = 0;
    std::uint64_t change = first_archived_change;
    for (archived_log_t& log : instance.archived_logs) {
        log.sequence = log.sequence ? log.sequence : sequence + 1;
        log.first_change = log.first_change ? log.first_change : change;
        log.next_change = log.next_change ? log.next_change : log.first_change + 1000;
        sequence = log.sequence;
        change = log.next_change;
        if (log.name.empty()) {
            char name[64];
            std::snprintf(name, sizeof(name), "ARC%010u_1158053400.%04u",
                          static_cast<unsigned>(log.sequence), log.thread);
            const char* const separator = is_asm_path(instance.archive_folder) ? "/" : "\\";
            log.name = instance.archive_folder + separator + name;
        }
    }
}

void add_parameters(const database_t& database, const home_t& home, const instance_t& instance) {
    const int major = major_version(instance.version);
    std::map<std::string, std::string> values = {
        {"audit_file_dest", home.base + "\\admin\\" + instance.sid + "\\adump"},
        {"cluster_database", instance.cluster ? "TRUE" : "FALSE"},
        {"compatible", instance.version},
        {"db_block_size", "8192"},
        {"db_domain", instance.db_domain},
        {"db_name", instance.db_name},
        {"db_recovery_file_dest", instance.recovery_area},
        {"db_unique_name", instance.db_unique_name},
        {"instance_name", instance.sid},
        {"instance_type", instance.is_asm ? "asm" : "RDBMS"},
        {"local_listener", instance.local_listener},
        {"open_cursors", "300"},
        {"processes", "320"},
        {"remote_listener", instance.remote_listener},
        {"remote_login_passwordfile", "EXCLUSIVE"},
        {"sga_target", "1610612736"},
        {"spfile",
         instance.with_spfile ? parameter_folder(home) + "\\SPFILE" + instance.sid + ".ORA" : ""}};
    if (!instance.is_asm) {
        values["control_files"] = join(instance.control_files);
        values["log_archive_dest_1"] =
            instance.archive_log ? "LOCATION=" + instance.archive_folder : "";
        values["undo_tablespace"] = "UNDOTBS1";
    }
    if (major >= 12) {
        values["enable_pluggable_database"] = instance.container ? "TRUE" : "FALSE";
        values["forward_listener"] = "";
    }
    for (const auto& [name, value] : instance.parameters) {
        values[name] = value;
    }
    query_t insert(database,
                   "INSERT INTO V$PARAMETER(NUM, NAME, TYPE, VALUE, DISPLAY_VALUE, ISDEFAULT) "
                   "VALUES(?1, ?2, 2, ?3, ?3, ?4)");
    int number = 0;
    for (const auto& [name, value] : values) {
        insert.bind(1, ++number).bind(2, name).bind(3, value);
        insert.bind(4, value.empty() ? "TRUE" : "FALSE").run();
    }
}

void add_data_files(const database_t& database, const instance_t& instance) {
    const bool has_logs = !instance.archived_logs.empty();
    const std::uint64_t checkpoint =
        has_logs ? instance.archived_logs.back().next_change - 10 : first_archived_change;
    query_t insert(database,
                   "INSERT INTO sandbox_datafile VALUES(NULL, ?, ?, 'ONLINE', ?, ?, "
                   "NULL, NULL, 0)");
    for (const file_t& file : instance.data_files) {
        insert.bind(1, file.name).bind(2, static_cast<std::int64_t>(file.bytes));
        insert.bind(3, static_cast<std::int64_t>(checkpoint));
        insert.bind(4, has_logs ? instance.archived_logs.back().completed : created).run();
    }
    query_t(database, "UPDATE sandbox_instance SET current_scn = ?")
        .bind(1, static_cast<std::int64_t>(checkpoint + 500))
        .run();
}

void add_other_files(const database_t& database, const instance_t& instance) {
    query_t temp(database,
                 "INSERT INTO V$TEMPFILE([FILE#], STATUS, ENABLED, BYTES, BLOCK_SIZE, "
                 "NAME) VALUES(?, 'ONLINE', 'READ WRITE', ?, 8192, ?)");
    int number = 0;
    for (const file_t& file : instance.temp_files) {
        temp.bind(1, ++number).bind(2, static_cast<std::int64_t>(file.bytes));
        temp.bind(3, file.name).run();
    }
    query_t control(database,
                    "INSERT INTO V$CONTROLFILE(NAME, IS_RECOVERY_DEST_FILE, BLOCK_SIZE, "
                    "FILE_SIZE_BLKS) VALUES(?, 'NO', 16384, ?)");
    for (const file_t& file : instance.control_files) {
        control.bind(1, file.name).bind(2, static_cast<std::int64_t>(file.bytes / 16384)).run();
    }
    const bool has_logs = !instance.archived_logs.empty();
    const std::uint64_t last_sequence = has_logs ? instance.archived_logs.back().sequence : 0;
    const std::uint64_t current_change =
        has_logs ? instance.archived_logs.back().next_change : first_archived_change;
    query_t log(database,
                "INSERT INTO V$LOG([GROUP#], [THREAD#], [SEQUENCE#], BYTES, MEMBERS, "
                "ARCHIVED, STATUS, [FIRST_CHANGE#], FIRST_TIME) "
                "VALUES(?1, 1, ?2, ?3, ?4, CASE ?1 WHEN 1 THEN 'NO' ELSE 'YES' END, "
                "CASE ?1 WHEN 1 THEN 'CURRENT' ELSE 'INACTIVE' END, ?5, ?6)");
    query_t member(database,
                   "INSERT INTO V$LOGFILE([GROUP#], TYPE, MEMBER, "
                   "IS_RECOVERY_DEST_FILE) VALUES(?, 'ONLINE', ?, 'NO')");
    int group_number = 0;
    for (const redo_group_t& group : instance.redo_groups) {
        // The first group is the current one, the others hold what was before.
        const std::int64_t sequence = static_cast<std::int64_t>(last_sequence) + 1 - group_number;
        log.bind(1, ++group_number).bind(2, std::max<std::int64_t>(sequence, 0));
        log.bind(3, static_cast<std::int64_t>(group.bytes));
        log.bind(4, static_cast<std::int64_t>(group.members.size()));
        log.bind(5, static_cast<std::int64_t>(current_change)).bind(6, created).run();
        for (const std::string& name : group.members) {
            member.bind(1, group_number).bind(2, name).run();
        }
    }
}

void add_archived_logs(const database_t& database, const instance_t& instance) {
    query_t insert(database,
                   "INSERT INTO V$ARCHIVED_LOG(RECID, STAMP, NAME, DEST_ID, [THREAD#], "
                   "[SEQUENCE#], [RESETLOGS_CHANGE#], [FIRST_CHANGE#], FIRST_TIME, "
                   "[NEXT_CHANGE#], NEXT_TIME, BLOCKS, BLOCK_SIZE, CREATOR, STANDBY_DEST, "
                   "ARCHIVED, APPLIED, DELETED, STATUS, COMPLETION_TIME) "
                   "VALUES(?1, ?2, CASE ?11 WHEN 'D' THEN NULL ELSE ?3 END, 1, ?4, ?5, "
                   "(SELECT resetlogs_change FROM sandbox_instance), ?6, ?7, ?8, ?7, ?9, ?10, "
                   "?12, 'NO', 'YES', 'NO', CASE ?11 WHEN 'D' THEN 'YES' ELSE 'NO' END, ?11, ?7)");
    int record = 0;
    for (const archived_log_t& log : instance.archived_logs) {
        insert.bind(1, ++record).bind(2, stamp_of(log.completed)).bind(3, log.name);
        insert.bind(4, log.thread).bind(5, static_cast<std::int64_t>(log.sequence));
        insert.bind(6, static_cast<std::int64_t>(log.first_change)).bind(7, log.completed);
        insert.bind(8, static_cast<std::int64_t>(log.next_change));
        insert.bind(9, static_cast<std::int64_t>(log.blocks)).bind(10, log.block_size);
        insert.bind(11, log.status).bind(12, log.creator).run();
    }
}

void add_pdbs(const database_t& database, const instance_t& instance) {
    query_t insert(database, "INSERT INTO sandbox_pdb VALUES(?, ?, ?, ?, 'MOUNTED', ?)");
    int container = 1;
    const auto add = [&](const std::string& name, const std::string& guid,
                         const std::string& mode) {
        insert.bind(1, ++container).bind(2, hash_of(name + instance.sid)).bind(3, name);
        insert.bind(4, guid.empty() ? guid_of(name + instance.sid) : guid).bind(5, mode).run();
    };
    add("PDB$SEED", "", "READ ONLY");
    for (const pdb_t& pdb : instance.pdbs) {
        add(pdb.name, pdb.guid, pdb.save_state ? pdb.open_mode : "MOUNTED");
    }
}

void add_asm(const database_t& database, const instance_t& instance) {
    query_t group_row(database,
                      "INSERT INTO V$ASM_DISKGROUP VALUES(?, ?, 512, 4096, 'MOUNTED', "
                      "'EXTERN', ?, ?)");
    query_t disk_row(database,
                     "INSERT INTO V$ASM_DISK VALUES(?, ?, 'CACHED', ?, ?, 'NORMAL', "
                     "51200, 25600, ?, ?)");
    int group_number = 0;
    for (const asm_group_t& group : instance.asm_groups) {
        const bool candidate = group.name.empty();
        const auto disks = static_cast<std::int64_t>(group.disks.size());
        if (!candidate) {
            group_row.bind(1, ++group_number).bind(2, group.name);
            group_row.bind(3, disks * 51200).bind(4, disks * 25600).run();
        }
        int number = 0;
        for (const asm_disk_t& disk : group.disks) {
            char name[64] = "";
            if (!candidate) {
                std::snprintf(name, sizeof(name), "%.50s_%04d", group.name.c_str(), number);
            }
            disk_row.bind(1, candidate ? 0 : group_number).bind(2, number++);
            disk_row.bind(3, candidate ? "CANDIDATE" : "MEMBER").bind(4, disk.mode_status);
            disk_row.bind(5, name).bind(6, disk.path).run();
        }
    }
}

void add_version(const database_t& database, const instance_t& instance) {
    const int major = major_version(instance.version);
    query_t insert(database, "INSERT INTO V$VERSION(BANNER) VALUES(?)");
    const std::string product = "Oracle Database " + std::to_string(major) +
                                (major >= 12 ? "c" : "g") + " Enterprise Edition";
    insert.bind(1, product + " Release " + instance.version +
                       (major >= 18 ? " - Production" : " - 64bit Production"));
    insert.run();
    if (major < 18) {
        insert.bind(1, "PL/SQL Release " + instance.version + " - Production").run();
        insert.bind(1, "CORE\t" + instance.version + "\tProduction").run();
        insert.bind(1, "NLSRTL Version " + instance.version + " - Production").run();
    }
}

void add_instance_row(const database_t& database, const home_t& home, const instance_t& instance,
                      const std::string& host) {
    query_t insert(database,
                   "INSERT INTO sandbox_instance(sid, home, parameter_folder, host, kind, version, "
                   "state, read_only, opens_read_only, startup_time, dbid, name, unique_name, "
                   "domain, created, log_mode, cdb, resetlogs_change, resetlogs_time) VALUES("
                   "?, ?, ?, ?, ?, ?, 0, 0, ?, ?11, ?8, ?9, ?10, ?13, ?11, ?12, ?14, ?15, ?11)");
    insert.bind(1, instance.sid).bind(2, home.path).bind(3, parameter_folder(home));
    insert.bind(4, host).bind(5, instance.is_asm ? "ASM" : "RDBMS").bind(6, instance.version);
    insert.bind(7, instance.read_only ? 1 : 0).bind(8, hash_of(instance.sid + home.path));
    insert.bind(9, instance.db_name).bind(10, instance.db_unique_name).bind(11, created);
    insert.bind(12, instance.archive_log ? "ARCHIVELOG" : "NOARCHIVELOG");
    insert.bind(13, instance.db_domain).bind(14, instance.container ? "YES" : "NO");
    insert.bind(15, static_cast<std::int64_t>(resetlogs_change)).run();
}

void add_rest(const database_t& database, const instance_t& instance) {
    query_t user(database, "INSERT OR REPLACE INTO sandbox_user VALUES(?, ?, ?, ?)");
    user.bind(1, "SYSTEM").bind(2, "manager").bind(3, 0).bind(4, 0).run();
    user.bind(1, "SYS").bind(2, "oracle").bind(3, 1).bind(4, 0).run();
    for (const user_t& entry : instance.users) {
        user.bind(1, to_upper(entry.name))
            .bind(2, entry.password)
            .bind(3, entry.sysdba)
            .bind(4, entry.password_expires)
            .run();
    }
    query_t point(database,
                  "INSERT INTO V$RESTORE_POINT(SCN, GUARANTEE_FLASHBACK_DATABASE, "
                  "STORAGE_SIZE, TIME, NAME) VALUES(?, ?, 52428800, ?, ?)");
    for (const restore_point_t& entry : instance.restore_points) {
        point.bind(1, static_cast<std::int64_t>(first_archived_change));
        point.bind(2, entry.guaranteed ? "YES" : "NO").bind(3, created).bind(4, entry.name).run();
    }
    if (!instance.recovery_area.empty()) {
        query_t(database,
                "INSERT INTO V$RECOVERY_FILE_DEST(NAME, SPACE_LIMIT, SPACE_USED, "
                "SPACE_RECLAIMABLE, NUMBER_OF_FILES) VALUES(?, 53687091200, 0, 0, 0)")
            .bind(1, instance.recovery_area)
            .run();
    }
    query_t(database, "INSERT INTO DUAL VALUES('X')").run();
}

}  // namespace

std::string parameter_folder(const home_t& home) {
    return (home.read_only ? home.base : home.path) + "\\database";
}

instance_t complete_instance(const instance_t& instance) {
    instance_t result = instance;
    if (result.db_name.empty()) {
        for (const char c : to_upper(instance.sid)) {
            if (std::isalnum(static_cast<unsigned char>(c)) && result.db_name.size() < 8) {
                result.db_name += c;
            }
        }
    }
    if (result.db_unique_name.empty()) {
        result.db_unique_name = result.is_asm ? "+ASM" : result.db_name;
    }
    if (result.archive_folder.empty()) {
        result.archive_folder = "C:\\oradata\\" + result.sid + "\\archive";
    }
    result.container = result.container || !result.pdbs.empty();
    if (result.default_files && !result.is_asm) {
        complete_files(result);
    }
    complete_logs(result);
    return result;
}

void write_instance(const std::filesystem::path& sandbox, const home_t& home,
                    const instance_t& instance, const std::string& host) {
    const std::filesystem::path file = instance_file(sandbox, instance.sid);
    std::filesystem::remove(file);
    database_t database(file, database_t::mode::create);
    transaction_t transaction(database);
    create_schema(database, major_version(instance.version));
    add_instance_row(database, home, instance, host);
    add_version(database, instance);
    add_parameters(database, home, instance);
    if (!instance.is_asm) {
        add_data_files(database, instance);
        add_other_files(database, instance);
        add_archived_logs(database, instance);
        if (instance.container) {
            add_pdbs(database, instance);
        }
    }
    add_asm(database, instance);
    add_rest(database, instance);
    enter_state(database, instance.state, instance.read_only);
    transaction.commit();
}

}  // namespace sandbox
