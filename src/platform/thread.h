// Threads that can be given a token and can be ended by force.
#pragma once

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/thread.hpp>

#include "platform/platform.h"

namespace platform {

/// Runs `body` on a new thread. Only a thread that was started here has a `thread_handle`.
boost::shared_ptr<boost::thread> start_thread(const boost::function<void()>& body);

/// The thread's handle for WaitForSingleObject, TerminateThread and SetThreadToken. It belongs to
/// the boost::thread object and is valid until that is joined, detached or gone. A thread ended by
/// TerminateThread must be detached and never joined.
HANDLE thread_handle(boost::thread& thread);

}  // namespace platform
