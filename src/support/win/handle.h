// Owns a HANDLE.
#pragma once

#include "platform/platform.h"

namespace win {

/// Closes the handle at its end, keeping the thread's last error. Neither null nor
/// INVALID_HANDLE_VALUE is closed.
class win_handle_t {
  public:
    explicit win_handle_t(HANDLE owned = nullptr) : handle(owned) {}
    virtual ~win_handle_t() { close(); }
    win_handle_t(const win_handle_t&) = delete;
    win_handle_t& operator=(const win_handle_t&) = delete;

    HANDLE get() const { return handle; }
    void reset(HANDLE owned);
    void close();

  private:
    HANDLE handle;
};

}  // namespace win
