// Ending a thread that hangs inside the Oracle client.
#pragma once

#include <boost/thread/thread.hpp>

#include "platform/platform.h"

namespace specific::oracle {

/// Ends `thread` by force, waits until it is gone and detaches it: it must not be joined
/// afterwards. Returns 0, or the system's error when the thread could not be ended. The thread
/// cannot die holding the log. Whatever else it can hold, the caller must hold meanwhile.
/// `thread_id` is its number, for its scopes in the log to be taken back.
DWORD terminate_thread(boost::thread& thread, DWORD thread_id);

}  // namespace specific::oracle
