// What the sandbox needs of the system beneath it, beyond the standard library. native_posix.cpp
// and native_windows.cpp.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace sandbox {

/// A variable of the process, which its children inherit; empty where it is not set.
std::string environment(const char* name);
/// An empty value takes the variable away.
void set_environment(const char* name, const std::string& value);

/// The folder that stands for drive `letter` (lower case). On Windows it is the machine's own
/// drive, to which a sandbox writes only where the variable ORALIB_SANDBOX_DRIVES allows it.
std::filesystem::path drive_folder(const std::filesystem::path& sandbox, char letter);
/// Lets the process see the keys of registry.reg as its HKEY_LOCAL_MACHINE. On Windows a copy of
/// them, made at the call, that goes with the process; elsewhere the module reads the file itself.
void use_registry(const std::filesystem::path& sandbox);
/// Where the client stand-in is, and what else the sandbox needs at run time: the folder "sandbox"
/// beside the running program.
std::filesystem::path stand_in_folder();
/// A program of the machine that says `line`, at `file`.
void write_program(const std::filesystem::path& file, const std::string& line);
/// A command file of the machine that answers `config database -db NAME` with these lines, where
/// `%db%` stands for NAME.
void write_command_file(const std::filesystem::path& file, const std::vector<std::string>& lines);

long process_id();
long thread_id();
void sleep_microseconds(long microseconds);
/// Not a microsecond early or late, as far as the processor is free: it spins at the end.
void sleep_until(std::chrono::steady_clock::time_point end);
/// Blocks in a call of the system, for ever, holding nothing.
[[noreturn]] void sleep_forever();

/// Ends the process as a crash would: nothing is tidied up.
[[noreturn]] void end_process();

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

/// A text file that several processes append to; each write arrives whole.
class appender_t {
  public:
    appender_t() = default;
    ~appender_t();
    appender_t(const appender_t&) = delete;
    appender_t& operator=(const appender_t&) = delete;

    /// Stays closed where the file cannot be opened.
    void open(const std::filesystem::path& file);
    bool is_open() const { return m_file != closed; }
    void write(const std::string& text) const;

  private:
    static constexpr std::intptr_t closed = -1;
    std::intptr_t m_file = closed;  ///< the system's descriptor or handle
};

}  // namespace sandbox
