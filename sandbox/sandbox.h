// A sandbox that exists: what is in it, and its instances' states.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "sandbox/schema.h"

namespace sandbox {

/// The SIDs of the sandbox, sorted.
std::vector<std::string> list_sids(const std::filesystem::path& sandbox);

/// What an instance is in now; down where the sandbox does not have it.
state_t get_state(const std::filesystem::path& sandbox, const std::string& sid);
/// Puts an instance into a state as if the operator had done it, by no rules.
void set_state(const std::filesystem::path& sandbox, const std::string& sid, state_t state);

/// Copies the machine's disks to the folder `image`, which must not exist.
void take_snapshot(const std::filesystem::path& sandbox, const std::filesystem::path& image);

/// What a restored image does when its machine starts: each instance was lost where it stood, and
/// the services with autostart bring theirs up, as far as Oracle lets them.
void boot(const std::filesystem::path& sandbox);

/// Runs statements of SQLite on an instance's database, for what the structures above lack.
void run_sql(const std::filesystem::path& sandbox, const std::string& sid, const std::string& sql);
/// The first column of the first row, empty if there is none or it is NULL.
std::string query_sql(const std::filesystem::path& sandbox, const std::string& sid,
                      const std::string& sql);

/// One line for each thing of the sandbox that an operator would ask for.
struct instance_summary_t {
    std::string sid;
    std::string kind;  ///< "database", "container database", "ASM"
    std::string version;
    std::string state;  ///< "down", "started", "mounted", "open", "open read only"
    std::string name;
    std::string detail;  ///< plain words: log mode, pluggable databases or disk groups, faults
};
std::vector<instance_summary_t> describe(const std::filesystem::path& sandbox);

}  // namespace sandbox
