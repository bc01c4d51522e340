// Threads that can be given a token, and what outlasts those that never come back.
#pragma once

#include <cstddef>

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/thread.hpp>

#include "platform/platform.h"

namespace platform {

/// The stack of our threads, in bytes: the host's own default may be too small for a client
/// library.
constexpr std::size_t thread_stack_size = 2 * 1024 * 1024;

/// Runs `body` on a new thread. Only a thread that was started here has a `thread_handle`.
boost::shared_ptr<boost::thread> start_thread(const boost::function<void()>& body);

/// The thread's handle for WaitForSingleObject and SetThreadToken. It belongs to the boost::thread
/// object and is valid until that is joined, detached or gone.
HANDLE thread_handle(boost::thread& thread);

/// One word of the calling thread, null at first. Nothing happens to it at the thread's end.
void* get_thread_word();
void set_thread_word(void* word);

/// Keeps the module that this code is linked into loaded until release_module. Counted: only the
/// first of those held at a time asks the system's loader, which a thread that hangs may have.
void hold_module();
void release_module();
/// Instead of release_module, for a thread that nobody waits for: its last act. The module is there
/// until the thread has left it. May not return, so nothing that has a destructor may be open.
void leave_module();

/// Each system's own, for module_hold.cpp: a reference to the module, null where there is none to
/// be had; its return; and its return when the calling thread has left the module.
void* add_module_reference();
void drop_module_reference(void* reference);
void end_with_module_reference(void* reference);

}  // namespace platform
