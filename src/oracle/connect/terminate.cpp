#include "oracle/connect/terminate.h"

#include "platform/thread.h"
#include "support/logging/logger.h"

namespace specific::oracle {

DWORD terminate_thread(boost::thread& thread) {
    const HANDLE handle = platform::thread_handle(thread);
    DWORD error = ERROR_SUCCESS;
    {
        const auto held = logging::g_oralib_log.log()->hold();
        if (TerminateThread(handle, ERROR_TIMEOUT)) {
            WaitForSingleObject(handle, INFINITE);
        } else {
            error = GetLastError();
        }
    }
    thread.detach();
    return error;
}

}  // namespace specific::oracle
