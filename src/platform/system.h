// What the two targets have under different names.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include <boost/thread/mutex.hpp>

namespace platform {

/// Runs a command of the command interpreter, in the ANSI code page and with output redirection,
/// and waits for its end; the exit code, or -1 if the interpreter could not be started.
int run_system(const std::string& ansi_command);

/// The process is in its last moments: its other threads are gone, whatever they held.
bool is_process_ending();

/// Held while a process is started, since handles meant for one child are inherited by any.
boost::mutex& process_start_mutex();

/// Creates or empties a file; a descriptor of the C runtime to write to, or -1 with errno set.
int create_file(const std::wstring& path);
void close_file(int descriptor);

/// The four parts of the file version of the module that this code is linked into.
std::array<std::uint16_t, 4> module_version();

/// What the Oracle client library is called for the system loader.
extern const char* const client_library_name;

}  // namespace platform
