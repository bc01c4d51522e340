// The record of a thread that platform::start_thread has started.
#pragma once

#include <sys/types.h>

#include "platform/posix/descriptor.h"
#include "platform/posix/handles.h"

namespace platform {

class thread_object : public object, public std::enable_shared_from_this<thread_object> {
  public:
    thread_object() : object("threads") {}
    int wait_descriptor() const override { return end.wait_descriptor(); }
    bool take() override { return end.is_set(); }

    /// The thread's id; waits until the thread has begun to run.
    pid_t id() const;

    std::atomic<pid_t> tid{0};
    std::shared_ptr<object> token;  // under the lock of the tokens
    latch end;
};

/// The calling thread's record; null for a thread that was not started here.
thread_object* current_thread();

/// Takes the token away from a thread that begins or has ended.
void forget_token(thread_object& thread);

}  // namespace platform
