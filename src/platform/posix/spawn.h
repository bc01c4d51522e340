// Starting a program under an exit code that nobody else in the process can take away.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "platform/posix/descriptor.h"

namespace platform {

struct spawn_request {
    std::string program;  // native path
    std::vector<std::string> arguments;
    std::vector<std::string> environment;
    int standard[3];             // the child's standard input, output and error
    std::vector<int> inherited;  // further descriptors that the child keeps
};

struct spawned {
    pid_t child = 0;
    pid_t monitor = 0;
    descriptor_owner child_handle;  // names the child even when its id is used again
    descriptor_owner status;        // readable at the child's end: its wait status
};

/// 0 or an `errno` value. The child is the child of a small monitor process of ours, which tells
/// the status over a pipe: the host may ignore its child signal or reap whatever ends.
int spawn(const spawn_request& request, spawned& result);

/// Takes away the monitor's process entry, now if it has ended, else at a later call.
void reap_monitor(pid_t monitor);

/// The wait status once `status` is readable.
int read_status(int status);

/// Windows' exit code for a wait status.
unsigned exit_code_of(int wait_status);

}  // namespace platform
