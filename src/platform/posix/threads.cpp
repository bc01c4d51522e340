#include "platform/posix/threads.h"

#include <dlfcn.h>
#include <errno.h>
#include <link.h>
#include <sched.h>
#include <signal.h>
#include <string.h>
#include <sys/syscall.h>
#include <time.h>
#include <ucontext.h>
#include <unistd.h>

#include "platform/posix/loaded_libraries.h"
#include "platform/posix/thread_object.h"
#include "platform/thread.h"

#if !defined(__x86_64__)
#error "Ending a thread reads the registers of this processor."
#endif

namespace platform {

namespace {

// Plain data: a destructor at the thread's end would be called in a module that may be gone.
thread_local thread_object* t_current = nullptr;
thread_local pid_t t_id =
    0;  // asked for once, which a child made by fork must not take for its own

const int g_forget_id_in_children = pthread_atfork(nullptr, nullptr, [] { t_id = 0; });

std::mutex g_handles_mutex;
std::map<const boost::thread*, HANDLE> g_handles;

// What remains to be done when a thread has ended, on its own or by force.
void finish_record(thread_object& record) {
    const std::shared_ptr<thread_object> last = std::move(record.self);
    forget_token(record);
    record.waits_for.reset();
    record.end.set();
}

class thread_mark {
  public:
    explicit thread_mark(thread_object* record) {
        t_current = record;
        record->tid = gettid();
    }
    ~thread_mark() {
        thread_object* const record = t_current;
        record->uninterrupted_depth = record->uninterrupted_depth + 1;
        t_current = nullptr;
        finish_record(*record);
    }
    thread_mark(const thread_mark&) = delete;
    thread_mark& operator=(const thread_mark&) = delete;
};

void destroy_thread(boost::thread* thread) {
    HANDLE handle;
    {
        const layer_lock lock(g_handles_mutex);
        handle = g_handles[thread];
        g_handles.erase(thread);
    }
    remove_handle(handle);
    delete thread;
}

// --- ending a thread -----------------------------------------------------------------------------

constexpr long resend_ns = 500000;
constexpr unsigned force_after_ms = 1000;
constexpr unsigned give_up_after_ms = 2000;
constexpr unsigned max_ranges = 64;

// What the handler needs; written while no signal is under way.
struct kill_request {
    thread_object* target;
    pid_t tid;
    address_range ranges[max_ranges];
    unsigned range_count;
    volatile bool force;
    unsigned refused;
};

kill_request g_request;
std::mutex g_request_mutex;

// The C library's structure for the system call, which its own sigaction hides.
using signal_handler = void (*)(int, siginfo_t*, void*);
struct kernel_action {
    signal_handler handler;
    unsigned long flags;
    void (*restorer)();
    unsigned long mask;
};

extern "C" void oralib_signal_return();
asm(".text\n"
    ".hidden oralib_signal_return\n"
    "oralib_signal_return:\n"
    "    mov $15, %eax\n"
    "    syscall\n");

constexpr unsigned long flag_restorer = 0x04000000;

int kill_signal() {
    return SIGRTMAX - 2;
}

void set_action(const kernel_action* action, kernel_action* previous) {
    syscall(SYS_rt_sigaction, kill_signal(), action, previous, sizeof(action->mask));
}

#ifdef __SANITIZE_THREAD__
extern "C" void __tsan_release(void*);
extern "C" void __tsan_acquire(void*);
#endif

// What the ended thread did comes before what its ender does next. The thread sanitizer has to be
// told, as it sees no join.
__attribute__((no_sanitize("thread"))) void leave_for_good() {
#ifdef __SANITIZE_THREAD__
    if (!g_request.force) __tsan_release(&g_request);
#endif
    syscall(SYS_exit, 0);
}

void see_the_end() {
#ifdef __SANITIZE_THREAD__
    __tsan_acquire(&g_request);
#endif
}

// A thread that is cut off in foreign code may hold a lock of it, unless it blocks there.
__attribute__((no_sanitize("address", "undefined", "thread"))) bool may_end(
    const ucontext_t& context) {
    const auto address = static_cast<std::uintptr_t>(context.uc_mcontext.gregs[REG_RIP]);
    const auto* code = reinterpret_cast<const unsigned char*>(address);
    if (context.uc_mcontext.gregs[REG_RAX] == -EINTR && code[-2] == 0x0F && code[-1] == 0x05) {
        return true;
    }
    for (unsigned i = 0; i < g_request.range_count; ++i) {
        if (address >= g_request.ranges[i].begin && address < g_request.ranges[i].end) return true;
    }
    return g_request.force;
}

// Runs on any thread at any point: raw system calls and plain memory only. The thread sanitizer
// would put a handler off that it knows of, hence the raw rt_sigaction as well.
__attribute__((no_sanitize("address", "undefined", "thread"))) void end_this_thread(int, siginfo_t*,
                                                                                    void* context) {
    if (syscall(SYS_gettid) != g_request.tid) return;
    if (g_request.target->uninterrupted_depth == 0 && may_end(*static_cast<ucontext_t*>(context))) {
        leave_for_good();
    }
    __atomic_store_n(&g_request.target->end_wanted, true, __ATOMIC_SEQ_CST);
    __atomic_fetch_add(&g_request.refused, 1, __ATOMIC_SEQ_CST);
}

bool is_gone(pid_t tid) {
    return syscall(SYS_tgkill, getpid(), tid, 0) != 0 && errno == ESRCH;
}

// One signal at a time is under way, so that none is left over when the handler is taken back.
bool end_thread(pid_t tid) {
    unsigned sent = 0;
    const DWORD begin = GetTickCount();
    for (;;) {
        const DWORD passed = GetTickCount() - begin;
        g_request.force = passed >= force_after_ms;
        const bool answered = __atomic_load_n(&g_request.refused, __ATOMIC_SEQ_CST) == sent;
        if (answered && syscall(SYS_tgkill, getpid(), tid, kill_signal()) == 0) ++sent;
        const timespec pause = {0, resend_ns};
        nanosleep(&pause, nullptr);
        if (is_gone(tid)) return true;
        if (passed >= give_up_after_ms) return false;
    }
}

}  // namespace

uninterrupted::uninterrupted() {
    if (t_current) t_current->uninterrupted_depth = t_current->uninterrupted_depth + 1;
}

uninterrupted::~uninterrupted() {
    if (!t_current) return;
    t_current->uninterrupted_depth = t_current->uninterrupted_depth - 1;
    if (t_current->uninterrupted_depth == 0 &&
        __atomic_load_n(&t_current->end_wanted, __ATOMIC_SEQ_CST)) {
        leave_for_good();
    }
}

thread_object* current_thread() {
    return t_current;
}

pid_t thread_object::id() const {
    while (tid == 0) {
        sched_yield();
    }
    return tid;
}

boost::shared_ptr<boost::thread> start_thread(const boost::function<void()>& body) {
    if (failing("start_thread")) throw boost::thread_resource_error(EAGAIN, "start_thread");
    const auto record = std::make_shared<thread_object>();
    const HANDLE handle = add_handle(record);
    record->self = record;
    try {
        boost::shared_ptr<boost::thread> result(new boost::thread([raw = record.get(), body] {
                                                    const thread_mark mark(raw);
                                                    body();
                                                }),
                                                destroy_thread);
        const layer_lock lock(g_handles_mutex);
        g_handles[result.get()] = handle;
        return result;
    } catch (...) {
        record->self.reset();
        remove_handle(handle);
        throw;
    }
}

HANDLE thread_handle(boost::thread& thread) {
    const layer_lock lock(g_handles_mutex);
    const auto found = g_handles.find(&thread);
    return found == g_handles.end() ? nullptr : found->second;
}

}  // namespace platform

using namespace platform;

DWORD GetCurrentThreadId() {
    if (t_id == 0) t_id = gettid();
    return static_cast<DWORD>(t_id);
}
DWORD GetCurrentProcessId() {
    return static_cast<DWORD>(getpid());
}
HANDLE GetCurrentProcess() {
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-1));
}
HANDLE GetCurrentThread() {
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-2));
}

BOOL TerminateThread(HANDLE thread, DWORD) {
    if (failing(__func__)) return FALSE;
    const auto record = find<thread_object>(thread);
    if (!record) return FALSE;
    const pid_t tid = record->id();
    const layer_lock lock(g_request_mutex);
    if (record->end.is_set()) return TRUE;

    g_request.target = record.get();
    g_request.tid = tid;
    g_request.range_count = own_code(g_request.ranges, max_ranges);
    g_request.refused = 0;
    kernel_action action = {end_this_thread, SA_SIGINFO | SA_ONSTACK | flag_restorer,
                            oralib_signal_return, 0};
    kernel_action previous;
    set_action(&action, &previous);
    const bool gone = end_thread(tid);
    // Ignoring it for a moment discards a signal that the thread has blocked until now.
    action = {};
    action.handler = reinterpret_cast<signal_handler>(std::uintptr_t{1});  // SIG_IGN
    set_action(&action, nullptr);
    set_action(&previous, nullptr);
    if (!gone) {
        __atomic_store_n(&record->end_wanted, false, __ATOMIC_SEQ_CST);
        return fail(ERROR_TIMEOUT);
    }

    see_the_end();
    release_guards(*record);
    finish_record(*record);
    return TRUE;
}
