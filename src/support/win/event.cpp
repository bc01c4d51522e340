#include "support/win/event.h"

#include <exception>

#include "support/exc/rethrow.h"

namespace win {

namespace {

HANDLE create_event() {
    const HANDLE handle = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    if (!handle) {
        const DWORD error = GetLastError();
        throw exc::win_sys_exc_t("CreateEvent() function call failed.", error);
    }
    return handle;
}

}  // namespace

win_manual_reset_event_t::win_manual_reset_event_t() : handle(create_event()) {}

void win_manual_reset_event_t::set() {
    try {
        if (!SetEvent(handle.get())) {
            const DWORD error = GetLastError();
            throw exc::win_sys_exc_t("SetEvent() function call failed.", error);
        }
    } catch (const std::exception& e) {
        exc::rethrow_with("Cannot set an event object to the signaled state.", e);
    }
}

DWORD win_manual_reset_event_t::wait(DWORD milliseconds) const {
    return WaitForSingleObject(handle.get(), milliseconds);
}

}  // namespace win
