#include "sandbox/sandbox.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

#include "sandbox/database.h"
#include "sandbox/native.h"
#include "sandbox/paths.h"

namespace sandbox {

namespace fs = std::filesystem;

namespace {

std::string sid_of(const std::string& file_stem) {
    std::string sid;
    for (std::size_t i = 0; i < file_stem.size(); ++i) {
        if (file_stem[i] == '%' && i + 2 < file_stem.size()) {
            sid += static_cast<char>(std::strtol(file_stem.substr(i + 1, 2).c_str(), nullptr, 16));
            i += 2;
        } else {
            sid += file_stem[i];
        }
    }
    return sid;
}

database_t open_instance(const fs::path& sandbox, const std::string& sid) {
    return {instance_file(sandbox, sid), database_t::mode::existing};
}

std::string value_of(const database_t& database, const std::string& sql) {
    query_t query(database, sql);
    return query.step() ? query.text(0) : "";
}

std::string detail_of(const database_t& database, bool is_asm) {
    std::string detail;
    if (is_asm) {
        detail = "disk groups: " +
                 value_of(database, "SELECT GROUP_CONCAT(NAME, ', ') FROM V$ASM_DISKGROUP");
    } else {
        detail = value_of(database, "SELECT log_mode FROM sandbox_instance") == "ARCHIVELOG"
                     ? "archive log mode"
                     : "no archive log mode";
        const std::string in_backup = value_of(
            database, "SELECT COUNT(*) FROM sandbox_datafile WHERE backup_change IS NOT NULL");
        if (in_backup != "0") {
            detail += "; in backup mode: " + in_backup + " files";
        }
        const std::string pdbs = value_of(
            database, "SELECT GROUP_CONCAT(name, ', ') FROM sandbox_pdb WHERE container > 2");
        if (!pdbs.empty()) {
            detail += "; pluggable databases: " + pdbs;
        }
    }
    const std::string faults = value_of(
        database, "SELECT GROUP_CONCAT(kind || ' in ' || target, ', ') FROM sandbox_fault");
    return faults.empty() ? detail : detail + "; faults: " + faults;
}

// Where the drives are the machine's own, what a snapshot would have caught of them lies here.
const char* const image_drive = "image/c";

bool has_own_drives(const fs::path& sandbox) {
    return drive_folder(sandbox, 'c').u8string().rfind(sandbox.u8string(), 0) == 0;
}

// Not by fs::copy, which takes every two files for the same where the file system has no numbers
// for them.
void copy_tree(const fs::path& from, const fs::path& to) {
    fs::create_directories(to);
    for (const auto& entry : fs::recursive_directory_iterator(from)) {
        const fs::path target = to / entry.path().lexically_relative(from);
        if (entry.is_directory()) {
            fs::create_directories(target);
        } else {
            fs::remove(target);
            fs::copy_file(entry.path(), target);
        }
    }
}

void copy_folders(const fs::path& from, const fs::path& to) {
    for (const char* folder : {"oradata", "ProgramData/Tarny/Backup"}) {
        if (fs::exists(from / folder)) {
            copy_tree(from / folder, to / folder);
        }
    }
}

}  // namespace

std::vector<std::string> list_sids(const fs::path& sandbox) {
    std::vector<std::string> sids;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(sandbox / "oracle", error)) {
        if (entry.path().extension() == ".db") {
            sids.push_back(sid_of(entry.path().stem().u8string()));
        }
    }
    std::sort(sids.begin(), sids.end());
    return sids;
}

state_t get_state(const fs::path& sandbox, const std::string& sid) {
    return fs::exists(instance_file(sandbox, sid)) ? read_state(open_instance(sandbox, sid))
                                                   : state_t::down;
}

void set_state(const fs::path& sandbox, const std::string& sid, state_t state) {
    database_t database = open_instance(sandbox, sid);
    const bool read_only =
        value_of(database, "SELECT opens_read_only FROM sandbox_instance") == "1";
    transaction_t transaction(database);
    enter_state(database, state, read_only);
    database.execute("UPDATE sandbox_instance SET closed = 0, stopping = 0");
    transaction.commit();
}

void take_snapshot(const fs::path& sandbox, const fs::path& image) {
    if (fs::exists(image)) {
        throw std::runtime_error(image.u8string() + " exists");
    }
    copy_tree(sandbox, image);
    if (!has_own_drives(sandbox)) {
        copy_folders(drive_folder(sandbox, 'c'), image / image_drive);
    }
}

void boot(const fs::path& sandbox) {
    if (!has_own_drives(sandbox)) {
        copy_folders(sandbox / image_drive, drive_folder(sandbox, 'c'));
    }
    for (const std::string& sid : list_sids(sandbox)) {
        database_t database = open_instance(sandbox, sid);
        const bool is_asm = value_of(database, "SELECT kind FROM sandbox_instance") == "ASM";
        const state_t before = read_state(database);
        const bool in_backup = value_of(database,
                                        "SELECT COUNT(*) FROM sandbox_datafile WHERE "
                                        "backup_change IS NOT NULL") != "0";
        set_state(sandbox, sid, state_t::down);
        // Files in backup mode keep a database from being opened.
        set_state(sandbox, sid,
                  before == state_t::open && in_backup && !is_asm ? state_t::mounted : before);
    }
}

void run_sql(const fs::path& sandbox, const std::string& sid, const std::string& sql) {
    open_instance(sandbox, sid).execute(sql);
}

std::string query_sql(const fs::path& sandbox, const std::string& sid, const std::string& sql) {
    return value_of(open_instance(sandbox, sid), sql);
}

std::vector<instance_summary_t> describe(const fs::path& sandbox) {
    std::vector<instance_summary_t> summaries;
    for (const std::string& sid : list_sids(sandbox)) {
        const database_t database = open_instance(sandbox, sid);
        query_t query(database,
                      "SELECT kind, version, state, read_only, name, cdb FROM sandbox_instance");
        if (!query.step()) {
            continue;
        }
        static const char* const states[] = {"down", "started", "mounted", "open"};
        const bool is_asm = query.text(0) == "ASM";
        const auto state = static_cast<state_t>(query.number(2));
        const bool read_only = state == state_t::open && query.number(3) != 0;
        summaries.push_back({sid,
                             is_asm                   ? "ASM"
                             : query.text(5) == "YES" ? "container database"
                                                      : "database",
                             query.text(1),
                             read_only ? "open read only" : states[static_cast<int>(state)],
                             query.text(4), detail_of(database, is_asm)});
    }
    return summaries;
}

}  // namespace sandbox
