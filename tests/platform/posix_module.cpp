// A module with this layer in it, for posix_unload_test.
#include <unistd.h>

#include "platform/guard.h"
#include "platform/thread.h"

/// Catches a fault and leaves an event open.
extern "C" __attribute__((visibility("default"))) bool use_module() {
    DWORD code = 0;
    platform::call_guarded([](void*) { RaiseException(7, 0, 0, nullptr); }, nullptr, code);
    SetThreadToken(nullptr, nullptr);
    return code == 7 && CreateEventA(nullptr, TRUE, FALSE, nullptr);
}

/// Leaves behind a thread that nobody waits for, which ends when the pipe is closed.
extern "C" __attribute__((visibility("default"))) void leave_thread(int pipe) {
    platform::hold_module();
    platform::start_thread([pipe] {
        DWORD code = 0;
        platform::call_guarded(
            [](void* context) {
                char byte;
                while (read(*static_cast<const int*>(context), &byte, 1) > 0) {
                }
            },
            const_cast<int*>(&pipe), code);
        platform::leave_module();
    })->detach();
}

/// The last error of an event that could not be created.
extern "C" __attribute__((visibility("default"))) DWORD event_error() {
    return CreateEventA(nullptr, TRUE, FALSE, nullptr) ? 0 : GetLastError();
}
