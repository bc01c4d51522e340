#include "support/win/handle.h"

namespace win {

void win_handle_t::reset(HANDLE owned) {
    close();
    handle = owned;
}

void win_handle_t::close() {
    if (handle && handle != INVALID_HANDLE_VALUE) {
        const DWORD error = GetLastError();
        CloseHandle(handle);
        SetLastError(error);
    }
    handle = nullptr;
}

}  // namespace win
