// One instance of the sandbox as a client meets it: who may come in, and what state it is in.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "sandbox/database.h"
#include "sandbox/oci/cursor.h"
#include "sandbox/oci/dialect.h"
#include "sandbox/schema.h"

namespace sandbox::oci {

struct status_t {
    state_t state = state_t::down;
    bool read_only = false;
    bool closed = false;    // closed once since it was started: it cannot be opened again
    bool stopping = false;  // takes no new sessions
    std::int64_t startups = 0;
};

/// What a session may do.
struct identity_t {
    std::string user;
    bool sysdba = false;
    bool preliminary = false;
    bool password_expires = false;
    std::int64_t startups = 0;  // the life of the instance that it belongs to
};

struct logon_t {
    bool external = false;  // by the operating system's account
    std::string user;
    std::string password;
    bool sysdba = false;
    bool preliminary = false;
};

class served_instance_t {
  public:
    /// Null where the sandbox has no instance of this SID.
    static std::unique_ptr<served_instance_t> find(const std::filesystem::path& sandbox,
                                                   const std::string& sid);

    /// Lets a user in by Oracle's rules; throws ora_error_t.
    identity_t log_on(const logon_t& logon);
    /// The instance's status for a session that wants to work; throws where it cannot.
    status_t status_for(const identity_t& identity);
    status_t status();

    void start_up(const identity_t& identity);
    void shut_down(const identity_t& identity, std::uint32_t mode);

    std::filesystem::path native(const std::string& path) const;
    /// Whether a file of this prefix, "SPFILE" or "INIT", lies where the server looks for it.
    bool has_parameter_file(const char* prefix) const;

    database_t database;
    const std::filesystem::path sandbox;
    std::string sid;
    std::string home;
    std::string parameter_folder;
    bool is_asm = false;
    int major = 0;
    std::vector<std::string> fault_targets;

  private:
    served_instance_t(const std::filesystem::path& directory, const std::filesystem::path& file);

    /// Gives whether the password is about to expire.
    bool authenticate(const logon_t& logon, state_t state);
    query_t m_status;
};

/// A value of an .ini file of the sandbox; `present` tells whether the section is there.
std::string ini_value(const std::filesystem::path& file, const std::string& section,
                      const std::string& key, bool* present = nullptr);

}  // namespace sandbox::oci
