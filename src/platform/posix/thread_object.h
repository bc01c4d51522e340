// The record of a thread that platform::start_thread has started.
#pragma once

#include <sys/types.h>

#include "platform/posix/descriptor.h"
#include "platform/posix/handles.h"

namespace platform {

class thread_object : public object {
  public:
    thread_object() : object("threads") {}
    int wait_descriptor() const override { return end.wait_descriptor(); }
    bool take() override { return end.is_set(); }

    /// The thread's id; waits until the thread has begun to run.
    pid_t id() const;

    std::atomic<pid_t> tid{0};
    // For the signal handler as well, where an object of the standard library might call out.
    volatile int uninterrupted_depth = 0;
    bool end_wanted = false;     // as soon as the depth is 0 again
    std::atomic<int> guards{0};  // guards of platform::call_guarded that the thread is in
    std::atomic<void*> fault_stack{nullptr};
    // Held here and not on the thread's stack, so that a thread that is ended leaks nothing.
    std::shared_ptr<object> waits_for;
    std::shared_ptr<thread_object> self;
    std::shared_ptr<object> token;  // under the lock of the tokens
    latch end;
};

/// The calling thread's record; null for a thread that was not started here.
thread_object* current_thread();

/// Takes the token away from a thread that begins or has ended.
void forget_token(thread_object& thread);

/// Undoes what guards of a thread that was ended have set up.
void release_guards(thread_object& thread);

}  // namespace platform
