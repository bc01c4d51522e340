// Builds and inspects a sandbox: a directory that stands for a whole Oracle server. All texts are
// UTF-8, all paths inside the sandbox are Windows paths. Failures are std::runtime_error.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "sandbox/faults.h"
#include "sandbox/journal.h"
#include "sandbox/paths.h"
#include "sandbox/registry.h"
#include "sandbox/sandbox.h"

namespace sandbox {

struct account_t {
    std::string name;  ///< `user` or `DOMAIN\user`
    std::string password;
    std::string groups;  ///< comma list; ORA_DBA lets its members in as SYSDBA
    std::string upn;
};

struct home_t {
    std::string path;  ///< `C:\app\oracle\product\19.0.0\dbhome_1`
    std::string name;  ///< `OraDB19Home1`
    std::string base;  ///< `C:\app\oracle`
    std::string key;   ///< registry key, `KEY_` and the name if empty
    bool read_only = false;
    bool with_orabasehome = true;
    bool with_srvctl = false;       ///< bin\srvctl.bat, which answers for the databases of the home
    std::string password_location;  ///< what srvctl.bat says behind "Password file:"
};

struct file_t {
    std::string name;
    std::uint64_t bytes = 0;
};

struct redo_group_t {
    std::uint64_t bytes = 0;
    std::vector<std::string> members;
};

struct pdb_t {
    std::string name;
    std::string guid;                      ///< 32 hexadecimal digits; made from the name if empty
    std::string open_mode = "READ WRITE";  ///< MOUNTED, READ WRITE, READ ONLY, MIGRATE
    bool save_state = true;                ///< opened again in this mode when the database opens
};

struct user_t {
    std::string name;
    std::string password;
    bool sysdba = false;
    bool password_expires = false;  ///< soon: each logon by it says so
};

struct archived_log_t {
    std::string name;                               ///< made under the archive folder if empty
    std::uint64_t sequence = 0;                     ///< one more than the log before, if 0
    std::uint64_t first_change = 0;                 ///< where the log before ends, if 0
    std::uint64_t next_change = 0;                  ///< 1,000 behind the first, if 0
    std::string completed = "2024-05-01 12:00:00";  ///< in the server's local time
    std::uint64_t blocks = 64;
    unsigned block_size = 512;
    unsigned thread = 1;
    std::string status = "A";  ///< A available, D deleted, X expired
    std::string creator = "ARCH";
    bool with_file = true;
};

struct restore_point_t {
    std::string name;
    bool guaranteed = false;
};

struct asm_disk_t {
    std::string path;
    std::string mode_status = "ONLINE";
};

struct asm_group_t {
    std::string name;  ///< empty: candidate disks that belong to no group
    std::vector<asm_disk_t> disks;
};

/// What is left empty gets a sensible value, also the lists of files, unless `default_files` is
/// false.
struct instance_t {
    std::string sid;
    std::string db_name;  ///< at most 8 characters; made from the SID if empty
    std::string db_unique_name;
    std::string db_domain;
    std::string version = "19.0.0.0.0";
    bool is_asm = false;
    state_t state = state_t::open;
    bool archive_log = true;
    bool read_only = false;
    bool cluster = false;
    bool container = false;  ///< also where `pdbs` has entries
    std::vector<pdb_t> pdbs;

    bool default_files = true;
    bool with_files = false;  ///< the data, redo and control files exist on the drive, 8 KiB each
    std::vector<file_t> data_files;
    std::vector<file_t> temp_files;
    std::vector<file_t> control_files;
    std::vector<redo_group_t> redo_groups;
    std::vector<archived_log_t> archived_logs;
    std::string archive_folder;  ///< `C:\oradata\SID\archive`; `+GROUP/...` lies in ASM
    std::string recovery_area;   ///< empty: none
    std::vector<restore_point_t> restore_points;

    std::string local_listener;
    std::string remote_listener;
    std::map<std::string, std::string> parameters;  ///< more of V$PARAMETER, or other values
    std::vector<user_t> users;  ///< SYSTEM/manager is always there, and SYS/oracle with SYSDBA

    std::vector<asm_group_t> asm_groups;

    bool with_spfile = true;
    bool with_init_file = false;
    bool with_password_file = true;
    bool with_service = true;
    std::string autostart;   ///< the home's value ORA_<SID>_AUTOSTART; none if empty
    std::string image_path;  ///< of the service; made from the home if empty
};

/// A sandbox directory that is being made. Instances, homes and files exist on the disk as soon as
/// they are added; registry.reg, host.ini and accounts.ini are written by write(), whole, which may
/// be done again after more was added.
class server_t {
  public:
    /// Creates the directory where it is missing.
    explicit server_t(const std::filesystem::path& directory);

    void set_host(const std::string& key, const std::string& value);
    void set_account(const account_t& account);
    /// The account that the process runs under; SYSTEM unless set.
    void set_process_account(const std::string& name);

    /// `key` lies under HKEY_LOCAL_MACHINE; `name` empty is the key's default value.
    void set_registry(const std::string& key, const std::string& name,
                      const registry_value_t& value);
    void set_registry(const std::string& key, const std::string& name, const std::string& text);
    void set_registry(const std::string& key, const std::string& name, std::uint32_t number);
    void remove_registry(const std::string& key);

    /// A file of the machine; its folders are made. Native paths come from native_path().
    void add_file(const std::string& path, const std::string& content = "");

    /// Writes the home's registry entries and its files bin\oracle.exe, bin\orabasehome.exe.
    void add_home(const home_t& home);
    void add_instance(const home_t& home, const instance_t& instance);

    void write() const;

    const std::filesystem::path& directory() const { return m_directory; }

  private:
    using ini_t = std::map<std::string, std::map<std::string, std::string>>;

    void add_service(const home_t& home, const instance_t& instance);
    void add_files(const home_t& home, const instance_t& instance);

    std::filesystem::path m_directory;
    registry_t m_registry;
    ini_t m_host;
    ini_t m_accounts;
};

/// A server worth looking at: four homes, one of them read-only; a container database; databases
/// without archive logging, mounted, down, and of version 10; an ASM instance with two groups.
void make_demo_server(const std::filesystem::path& directory);

}  // namespace sandbox
