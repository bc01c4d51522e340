// A machine of a test's own: an empty drive C: and whatever registry and facts the test writes. On
// Windows it is this machine, whose drives are left as they were found.
#pragma once

#include <filesystem>
#include <set>
#include <string>

class machine_t {
  public:
    machine_t();
    ~machine_t();
    machine_t(const machine_t&) = delete;
    machine_t& operator=(const machine_t&) = delete;

    /// Whether the system under the library is this project's own layer, whose facts (host.ini,
    /// accounts.ini), faults and counts a test can reach.
    static bool is_layered();
    /// Empty again, the sandbox's folder too.
    void reset();

    /// The folder that stands for a drive.
    std::filesystem::path drive(char letter = 'c') const;
    /// A path of the machine, where this process finds it.
    std::filesystem::path find(const std::string& path) const;
    /// Sections as regedit exports them. They are HKEY_LOCAL_MACHINE from now on.
    void write_registry(const std::string& sections) const;
    void write_host(const std::string& facts) const;
    /// A copy of tests/child.cpp's program, or a command file that starts one.
    void add_child(const std::string& path) const;
    /// The machine is what a builder has made of `folder`: takes its registry over.
    void refresh() const;
    /// Leaves everything as it is, for somebody to look at; not where others come after it.
    void keep() { m_kept = true; }

    const std::filesystem::path folder;  ///< the sandbox, which ORALIB_SANDBOX names

  private:
    void prepare();
    void clear() const;

    std::set<std::filesystem::path> m_found;
    bool m_kept = false;
};

/// A folder that was not there before.
std::filesystem::path make_temporary_folder();

/// With all that is in it. Waits for a file that Wine still holds when its process has ended.
void remove_folder(const std::filesystem::path& folder);

/// The handles, or descriptors, that this process has open.
std::size_t count_handles();

/// Runs a command of the shell; its exit code.
int run_command(const std::string& command);

std::string read_file(const std::filesystem::path& path);
void write_file(const std::filesystem::path& path, const std::string& text);
