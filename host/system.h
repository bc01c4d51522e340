// What the host needs of the operating system beyond the standard library; the one file to port.
#pragma once

#include <filesystem>
#include <string>

namespace host {

std::filesystem::path executable_folder();
/// The module's file name on this system.
extern const char* const module_file_name;
/// The Oracle client library's, which is also that of the sandbox's stand-in.
extern const char* const client_file_name;

/// A shared library, loaded for the object's lifetime. Failures are std::runtime_error.
class library_t {
  public:
    explicit library_t(const std::filesystem::path& file);
    ~library_t();
    library_t(const library_t&) = delete;
    library_t& operator=(const library_t&) = delete;

    void* find(const char* name) const;

  private:
    void* m_library;
};

/// Empty where the variable is not set.
std::string get_environment(const char* name);
void set_environment(const char* name, const std::string& value);
/// Child processes do not inherit it any more.
void remove_environment(const char* name);

bool is_error_output_a_terminal();

/// While it lives, what the process writes to its standard output is thrown away.
class quiet_output_t {
  public:
    quiet_output_t();
    ~quiet_output_t();
    quiet_output_t(const quiet_output_t&) = delete;
    quiet_output_t& operator=(const quiet_output_t&) = delete;

  private:
    int m_saved;
};

/// Asks at the terminal, whatever standard input is, and shows nothing of the answer. Throws
/// std::runtime_error where there is no terminal.
std::string read_hidden_line(const std::string& prompt);

}  // namespace host
