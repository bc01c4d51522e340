// A module with this layer in it, for posix_unload_test.
#include "platform/guard.h"
#include "platform/thread.h"

namespace {

void hang_guarded() {
    DWORD code = 0;
    platform::call_guarded([](void*) { Sleep(600000); }, nullptr, code);
}

}  // namespace

/// Ends a hung thread, catches a fault, and leaves an event open.
extern "C" __attribute__((visibility("default"))) bool use_module() {
    const auto thread = platform::start_thread(hang_guarded);
    Sleep(2);
    const bool ended = TerminateThread(platform::thread_handle(*thread), 0);
    thread->detach();
    DWORD code = 0;
    platform::call_guarded([](void*) { RaiseException(7, 0, 0, nullptr); }, nullptr, code);
    SetThreadToken(nullptr, nullptr);
    return ended && code == 7 && CreateEventA(nullptr, TRUE, FALSE, nullptr);
}

/// The last error of an event that could not be created.
extern "C" __attribute__((visibility("default"))) DWORD event_error() {
    return CreateEventA(nullptr, TRUE, FALSE, nullptr) ? 0 : GetLastError();
}
