// An anonymous pipe.
#pragma once

#include <string>

#include <boost/chrono.hpp>

#include "support/win/handle.h"

namespace process_subsystem::pipe {

/// Both ends are inheritable at first. Failures throw win_sys_exc_t.
class CWinPipe {
  public:
    CWinPipe();

    /// What comes until the last write end is closed, or the time is over: anybody may have
    /// inherited that end, and keep it.
    std::string read_to_end(boost::chrono::milliseconds limit);

    win::win_handle_t read_handle;
    win::win_handle_t write_handle;
};

}  // namespace process_subsystem::pipe
