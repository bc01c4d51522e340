// An anonymous pipe.
#pragma once

#include <string>

#include "support/win/handle.h"

namespace process_subsystem::pipe {

/// Both ends are inheritable at first. Failures throw win_sys_exc_t.
class CWinPipe {
  public:
    CWinPipe();

    /// What comes until the last write end is closed.
    std::string read_to_end();

    win::win_handle_t read_handle;
    win::win_handle_t write_handle;
};

}  // namespace process_subsystem::pipe
