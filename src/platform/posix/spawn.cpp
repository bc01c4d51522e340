#include "platform/posix/spawn.h"

#include <errno.h>
#include <fcntl.h>
#include <linux/close_range.h>
#include <sched.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>

#include "platform/posix/handles.h"

namespace platform {

namespace {

// What the two new processes work with, all of it made before there are any. They are copies of one
// thread of a process with many: from there on only raw system calls are safe, and the sanitizers'
// own bookkeeping is not.
struct plan {
    const char* program;
    char** arguments;
    char** environment;
    const int* standard;
    const int* inherited;
    std::size_t inherited_count;
    int start_pipe;   // the child's id, then -errno if it could not become the program
    int status_pipe;  // the wait status
    unsigned long signal_mask;
};

struct kernel_action {
    void* handler;
    unsigned long flags;
    void* restorer;
    unsigned long mask;
};

#define RAW __attribute__((no_sanitize("address", "undefined", "thread")))

RAW long clone_process(int exit_signal) {
    return syscall(SYS_clone, static_cast<long>(exit_signal), 0L, 0L, 0L, 0L);
}

RAW void send(int pipe, int number) {
    syscall(SYS_write, pipe, &number, sizeof number);
}

RAW void become_program(const plan& p) {
    // Copies above the standard ones first, as a source may be one of them.
    int sources[3];
    for (int i = 0; i < 3; ++i) {
        sources[i] = static_cast<int>(syscall(SYS_fcntl, p.standard[i], F_DUPFD_CLOEXEC, 3));
    }
    for (int i = 0; i < 3; ++i) {
        if (sources[i] >= 0) {
            syscall(SYS_dup2, sources[i], i);
        } else {
            syscall(SYS_close, i);
        }
    }
    syscall(SYS_close_range, 3, ~0U, CLOSE_RANGE_CLOEXEC);
    for (std::size_t i = 0; i < p.inherited_count; ++i) {
        if (p.inherited[i] > 2) syscall(SYS_fcntl, p.inherited[i], F_SETFD, 0);
    }
    syscall(SYS_rt_sigprocmask, SIG_SETMASK, &p.signal_mask, nullptr, sizeof p.signal_mask);
    syscall(SYS_execve, p.program, p.arguments, p.environment);
    send(p.start_pipe, -errno);
    syscall(SYS_exit_group, 127);
}

RAW void watch_child(const plan& p) {
    // With the host's setting the child's status could be lost.
    const kernel_action by_default = {};
    syscall(SYS_rt_sigaction, SIGCHLD, &by_default, nullptr, sizeof by_default.mask);
    const long child = clone_process(SIGCHLD);
    if (child == 0) become_program(p);
    send(p.start_pipe, child < 0 ? -errno : static_cast<int>(child));
    // The other ends of the child's pipes must not stay open through this process.
    if (p.status_pipe > 0) syscall(SYS_close_range, 0, p.status_pipe - 1, 0);
    syscall(SYS_close_range, p.status_pipe + 1, ~0U, 0);
    int status = 0;
    while (syscall(SYS_wait4, child, &status, 0, nullptr) < 0 && errno == EINTR) {
    }
    send(p.status_pipe, status);
    syscall(SYS_exit_group, 0);
}

std::mutex g_mutex;
std::vector<pid_t> g_monitors;  // whose entries are still to be taken away

std::vector<char*> pointers(const std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (const std::string& text : texts) {
        result.push_back(const_cast<char*>(text.c_str()));
    }
    result.push_back(nullptr);
    return result;
}

bool make_pipe(descriptor_owner& read_end, descriptor_owner& write_end) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return false;
    read_end.reset(ends[0]);
    write_end.reset(ends[1]);
    // The child puts its standard files on the first three.
    if (ends[1] < 3) write_end.reset(fcntl(ends[1], F_DUPFD_CLOEXEC, 3));
    return write_end.get() >= 0;
}

bool receive(int pipe, int& number) {
    ssize_t count = 0;
    do {
        count = read(pipe, &number, sizeof number);
    } while (count < 0 && errno == EINTR);
    return count == sizeof number;
}

}  // namespace

int spawn(const spawn_request& request, spawned& result) {
    descriptor_owner start, start_write, status_write;
    if (!make_pipe(start, start_write) || !make_pipe(result.status, status_write)) return errno;
    const std::vector<char*> arguments = pointers(request.arguments);
    const std::vector<char*> environment = pointers(request.environment);
    plan p = {request.program.c_str(),
              const_cast<char**>(arguments.data()),
              const_cast<char**>(environment.data()),
              request.standard,
              request.inherited.data(),
              request.inherited.size(),
              start_write.get(),
              status_write.get(),
              0};

    // The monitor must neither run a handler of the host nor be ended by a signal to the group.
    const unsigned long all = ~0UL;
    syscall(SYS_rt_sigprocmask, SIG_SETMASK, &all, &p.signal_mask, sizeof all);
    const long monitor = clone_process(0);  // without a signal it is no child that wait(-1) sees
    if (monitor == 0) watch_child(p);
    const int clone_error = errno;
    syscall(SYS_rt_sigprocmask, SIG_SETMASK, &p.signal_mask, nullptr, sizeof all);
    if (monitor < 0) return clone_error;

    result.monitor = static_cast<pid_t>(monitor);
    start_write.reset();
    status_write.reset();
    int error = 0;
    for (int number = 0; receive(start.get(), number);) {
        if (number > 0) {
            result.child = number;
        } else {
            error = -number;
        }
    }
    if (error == 0 && result.child == 0) error = ECHILD;
    if (error == 0) {
        result.child_handle.reset(static_cast<int>(syscall(SYS_pidfd_open, result.child, 0)));
    }
    return error;
}

void reap_monitor(pid_t monitor) {
    const std::lock_guard<std::mutex> lock(g_mutex);
    if (monitor > 0) g_monitors.push_back(monitor);
    const auto reaped = [](pid_t pid) { return waitpid(pid, nullptr, __WCLONE | WNOHANG) != 0; };
    g_monitors.erase(std::remove_if(g_monitors.begin(), g_monitors.end(), reaped),
                     g_monitors.end());
}

int read_status(int status) {
    int number = SIGKILL;
    receive(status, number);
    return number;
}

unsigned exit_code_of(int wait_status) {
    constexpr unsigned access_violation = 0xC0000005, aborted = 3, ended_by_user = 0xC000013A;
    if (WIFEXITED(wait_status)) return static_cast<unsigned>(WEXITSTATUS(wait_status));
    if (WTERMSIG(wait_status) == SIGSEGV) return access_violation;
    return WTERMSIG(wait_status) == SIGABRT ? aborted : ended_by_user;
}

}  // namespace platform
