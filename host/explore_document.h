// The explore document as plain records; docs/formats/explore.md tells what each field means.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace host {

struct file_entry_t {
    std::string path;
    std::string size;   ///< decimal
    std::string group;  ///< redo logs only; may be empty
};

struct pdb_entry_t {
    std::string name;
    std::string guid;
};

struct database_entry_t {
    bool is_error = false;
    std::string sid;
    std::string config;
    std::string error_description;  ///< of a failed instance, which has no more than this

    std::string name;
    bool archive_logs_on = false;
    bool is_readonly = false;
    bool has_guaranteed_restore_points = false;
    bool is_cluster = false;
    std::string pfile;  ///< base64
    std::vector<file_entry_t> control_files;
    std::vector<file_entry_t> data_files;
    std::vector<file_entry_t> log_files;
    std::vector<file_entry_t> temp_files;
    std::vector<pdb_entry_t> pdbs;
};

struct disk_entry_t {
    std::string group;  ///< empty: in no group
    std::string path;
    std::string state;
};

struct asm_entry_t {
    std::string sid;
    std::vector<disk_entry_t> disks;
};

struct home_entry_t {
    std::string name;
    std::string version;
    std::string path;
    std::string description;
    std::vector<database_entry_t> databases;
    std::vector<asm_entry_t> asm_instances;
};

struct explore_document_t {
    std::string server_name;
    std::string os_name;
    std::optional<int> time_zone;  ///< quarter hours east of UTC
    std::vector<home_entry_t> homes;
};

/// `utf8` as the module gave it. What the reader does not know is passed over. Throws
/// std::runtime_error for what is not XML or has another root.
explore_document_t read_explore_document(const std::string& utf8);

}  // namespace host
