// An event that stays set.
#pragma once

#include "support/win/handle.h"

namespace win {

/// Unset at first. Any thread may set it or wait for it.
class win_manual_reset_event_t {
  public:
    /// Throws win_sys_exc_t.
    win_manual_reset_event_t();

    /// Throws win_sys_exc_t.
    void set();
    /// WaitForSingleObject's result.
    DWORD wait(DWORD milliseconds) const;

  private:
    win_handle_t handle;
};

}  // namespace win
