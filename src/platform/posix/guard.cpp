#include "platform/guard.h"

#include <pthread.h>
#include <setjmp.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/mman.h>

#include <iterator>
#include <mutex>

namespace platform {

namespace {

struct guard_frame {
    sigjmp_buf jump;
    guard_frame* outer;
    DWORD code;
};

constexpr std::size_t fault_stack_size = 64 * 1024;
constexpr std::uintptr_t stack_limit_zone = 64 * 1024;

constexpr int signals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL};
constexpr std::size_t signal_count = std::size(signals);

// Plain data: a destructor at the thread's end would be called in a module that may be gone.
thread_local guard_frame* t_innermost = nullptr;
thread_local std::uintptr_t t_stack_limit = 0;

void on_fault(int signal, siginfo_t* info, void* context);

// The handlers stand while some thread is in a guard, and go with the module at the latest.
class fault_handlers {
  public:
    void enter() {
        const std::lock_guard<std::mutex> lock(mutex);
        if (users++ > 0) return;
        struct sigaction action = {};
        action.sa_sigaction = on_fault;
        action.sa_flags = SA_SIGINFO | SA_ONSTACK;
        for (std::size_t i = 0; i < signal_count; ++i) {
            sigaction(signals[i], &action, &previous[i]);
        }
    }
    void leave() {
        const std::lock_guard<std::mutex> lock(mutex);
        if (--users == 0) restore();
    }
    ~fault_handlers() {
        if (users > 0) restore();
    }
    const struct sigaction& before(int signal) const {
        std::size_t i = 0;
        while (signals[i] != signal) {
            ++i;
        }
        return previous[i];
    }

  private:
    void restore() {
        for (std::size_t i = 0; i < signal_count; ++i) {
            struct sigaction current;
            sigaction(signals[i], nullptr, &current);
            // A handler that was put on top since then stays.
            if (current.sa_sigaction == on_fault) sigaction(signals[i], &previous[i], nullptr);
        }
    }

    std::mutex mutex;
    int users = 0;
    struct sigaction previous[signal_count] = {};
};

fault_handlers g_handlers;

DWORD arithmetic_code(int code) {
    switch (code) {
        case FPE_INTDIV:
            return EXCEPTION_INT_DIVIDE_BY_ZERO;
        case FPE_INTOVF:
            return EXCEPTION_INT_OVERFLOW;
        case FPE_FLTDIV:
            return EXCEPTION_FLT_DIVIDE_BY_ZERO;
        default:
            return EXCEPTION_FLT_INVALID_OPERATION;
    }
}

DWORD fault_code_of(int signal, const siginfo_t& info) {
    const auto address = reinterpret_cast<std::uintptr_t>(info.si_addr);
    switch (signal) {
        case SIGBUS:
            return EXCEPTION_IN_PAGE_ERROR;
        case SIGFPE:
            return arithmetic_code(info.si_code);
        case SIGILL:
            return EXCEPTION_ILLEGAL_INSTRUCTION;
        default:
            return address + stack_limit_zone >= t_stack_limit &&
                           address < t_stack_limit + stack_limit_zone
                       ? EXCEPTION_STACK_OVERFLOW
                       : EXCEPTION_ACCESS_VIOLATION;
    }
}

void pass_on(int signal, siginfo_t* info, void* context) {
    const struct sigaction& previous = g_handlers.before(signal);
    const bool is_fault = info->si_code > 0;
    if (previous.sa_handler == SIG_DFL || (previous.sa_handler == SIG_IGN && is_fault)) {
        // The instruction faults again when this returns; what was sent has to be sent again.
        ::signal(signal, SIG_DFL);
        if (!is_fault) raise(signal);
    } else if (previous.sa_handler != SIG_IGN) {
        if (previous.sa_flags & SA_SIGINFO) {
            previous.sa_sigaction(signal, info, context);
        } else {
            previous.sa_handler(signal);
        }
    }
}

void on_fault(int signal, siginfo_t* info, void* context) {
    guard_frame* const frame = t_innermost;
    if (!frame || info->si_code <= 0) {
        pass_on(signal, info, context);
        return;
    }
    frame->code = fault_code_of(signal, *info);
    siglongjmp(frame->jump, 1);
}

std::uintptr_t stack_limit() {
    pthread_attr_t attributes;
    void* lowest = nullptr;
    std::size_t size = 0;
    if (pthread_getattr_np(pthread_self(), &attributes) == 0) {
        pthread_attr_getstack(&attributes, &lowest, &size);
        pthread_attr_destroy(&attributes);
    }
    return reinterpret_cast<std::uintptr_t>(lowest);
}

// One guard on this thread: its frame, the handlers, and on the outermost a stack for them, without
// which an overflow could not be handled.
class guard_scope {
  public:
    guard_scope() {
        frame.outer = t_innermost;
        g_handlers.enter();
        if (!frame.outer) {
            if (t_stack_limit == 0) t_stack_limit = stack_limit();
            set_stack();
        }
        t_innermost = &frame;
    }
    ~guard_scope() {
        t_innermost = frame.outer;
        if (stack) {
            sigaltstack(&previous_stack, nullptr);
            munmap(stack, fault_stack_size);
        }
        g_handlers.leave();
    }
    guard_scope(const guard_scope&) = delete;
    guard_scope& operator=(const guard_scope&) = delete;

    guard_frame frame;

  private:
    void set_stack() {
        stack = mmap(nullptr, fault_stack_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS,
                     -1, 0);
        if (stack == MAP_FAILED) {
            stack = nullptr;
            return;
        }
        stack_t own = {};
        own.ss_sp = stack;
        own.ss_size = fault_stack_size;
        sigaltstack(&own, &previous_stack);
    }

    void* stack = nullptr;
    stack_t previous_stack = {};
};

}  // namespace

bool call_guarded(void (*body)(void*), void* context, DWORD& fault_code) {
    guard_scope scope;
    if (sigsetjmp(scope.frame.jump, 1) == 0) {
        body(context);
        return true;
    }
    fault_code = scope.frame.code;
    return false;
}

}  // namespace platform

void RaiseException(DWORD code, DWORD, DWORD, const ULONG_PTR*) {
    if (platform::guard_frame* const frame = platform::t_innermost) {
        frame->code = code;
        siglongjmp(frame->jump, 1);
    }
    fprintf(stderr, "Unhandled exception 0x%08X\n", static_cast<unsigned>(code));
    abort();
}
