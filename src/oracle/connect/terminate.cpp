#include "oracle/connect/terminate.h"

#include "platform/system.h"
#include "platform/thread.h"
#include "support/logging/logger.h"
#include "support/logging/scope.h"

namespace specific::oracle {

DWORD terminate_thread(boost::thread& thread, DWORD thread_id) {
    const HANDLE handle = platform::thread_handle(thread);
    DWORD error = ERROR_SUCCESS;
    {
        const auto held = logging::g_oralib_log.log()->hold();
        if (TerminateThread(handle, ERROR_TIMEOUT)) {
            WaitForSingleObject(handle, INFINITE);
            logging::forget_scopes(logging::g_oralib_log, thread_id);
        } else {
            error = GetLastError();
            // It may come back at any time, into code that must still be there.
            platform::keep_loaded();
        }
    }
    thread.detach();
    return error;
}

}  // namespace specific::oracle
