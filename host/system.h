// What the host needs of the operating system beyond the standard library and the sandbox's
// native.h. system_posix.cpp and system_windows.cpp.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace host {

/// Takes the current folder out of the search for libraries, where anybody may have put one.
void search_no_libraries_here();

std::filesystem::path executable_folder();
/// The module's file name on this system.
extern const char* const module_file_name;
/// The Oracle client library's, which is also that of the sandbox's stand-in.
extern const char* const client_file_name;

/// The module's log, as the module is to have it, unless the operator names another.
std::string default_log_path();
/// Where this process finds a file of the module's.
std::filesystem::path native_path(const std::string& module_path);

/// What to tell the operator where the module cannot start and there is no sandbox; may be empty.
extern const char* const hint_without_sandbox;

/// The words of the command line behind the program's name, UTF-8.
std::vector<std::string> command_line_words(int count, char** words);

/// A text in the code page in which the module keeps files.
std::string ansi_to_utf8(const std::string& text);

/// What the file holds is on the disk afterwards, as far as the system can tell.
void flush_to_disk(const std::filesystem::path& file);

/// Lets UTF-8 on the standard streams come out right while it lives.
class utf8_output_t {
  public:
    utf8_output_t();
    ~utf8_output_t();
    utf8_output_t(const utf8_output_t&) = delete;
    utf8_output_t& operator=(const utf8_output_t&) = delete;

  private:
    unsigned m_before;
};

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

/// Asks at the terminal, whatever standard input is, and shows nothing of the answer, which comes
/// in UTF-8. Throws std::runtime_error where there is no terminal.
std::string read_hidden_line(const std::string& prompt);

}  // namespace host
