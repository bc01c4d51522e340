// A command of the operator's, run while the databases wait. child_posix.cpp, child_windows.cpp.
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace host {

/// While one lives, what asks the process to end (Ctrl+C, SIGTERM, the closing of a console) is
/// noted only, so that a backup is finished first.
class end_requests_t {
  public:
    end_requests_t();
    ~end_requests_t();
    end_requests_t(const end_requests_t&) = delete;
    end_requests_t& operator=(const end_requests_t&) = delete;

    static bool was_asked();
};

enum class child_end { exited, timed_out, interrupted };

struct child_outcome_t {
    child_end how;
    int exit_code;  ///< of one that exited; 128 and the signal's number where a signal ended it
};

/// Runs a program with its arguments, on this process's streams. With all that it started it is
/// ended when `limit` is over, or when the process is asked to end. Throws std::runtime_error where
/// it cannot be started.
child_outcome_t run_child(const std::vector<std::string>& words, std::chrono::seconds limit);

}  // namespace host
