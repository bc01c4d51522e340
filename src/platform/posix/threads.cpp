#include "platform/posix/threads.h"

#include <dlfcn.h>
#include <errno.h>
#include <pthread.h>
#include <unistd.h>

#include "platform/posix/sandbox.h"
#include "platform/posix/thread_object.h"
#include "platform/thread.h"

namespace platform {

namespace {

// Plain data: a destructor at the thread's end would be called in a module that may be gone.
thread_local thread_object* t_current = nullptr;
thread_local void* t_word = nullptr;
thread_local pid_t t_id =
    0;  // asked for once, which a child made by fork must not take for its own

const int g_forget_id_in_children = pthread_atfork(nullptr, nullptr, [] { t_id = 0; });

std::mutex g_handles_mutex;
std::map<const boost::thread*, HANDLE> g_handles;

class thread_mark {
  public:
    explicit thread_mark(thread_object& marked) : record(marked) {
        t_current = &record;
        record.tid = gettid();
    }
    ~thread_mark() {
        t_current = nullptr;
        forget_token(record);
        record.end.set();
    }
    thread_mark(const thread_mark&) = delete;
    thread_mark& operator=(const thread_mark&) = delete;

  private:
    thread_object& record;
};

void destroy_thread(boost::thread* thread) {
    HANDLE handle;
    {
        const std::lock_guard<std::mutex> lock(g_handles_mutex);
        handle = g_handles[thread];
        g_handles.erase(thread);
    }
    remove_handle(handle);
    delete thread;
}

// The C library itself gives a thread's reference to the module back, when the thread has left our
// code: the destructor of a key is its own dlclose. That has to come behind the destructors of
// Boost's keys, whose code may go with the module. So another key arms it: the keys' destructors
// run in rounds, in the order of the keys, and a key that an earlier one sets waits a round.
class thread_key {
  public:
    explicit thread_key(void (*destructor)(void*)) { pthread_key_create(&key, destructor); }
    ~thread_key() { pthread_key_delete(key); }
    thread_key(const thread_key&) = delete;
    thread_key& operator=(const thread_key&) = delete;

    void set(void* value) const { pthread_setspecific(key, value); }

  private:
    pthread_key_t key;
};

const thread_key g_closing_key(
    reinterpret_cast<void (*)(void*)>(reinterpret_cast<void*>(&dlclose)));
const thread_key g_arming_key([](void* module) { g_closing_key.set(module); });

}  // namespace

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
    try {
        boost::thread::attributes attributes;
        attributes.set_stack_size(thread_stack_size);
        boost::shared_ptr<boost::thread> result(
            new boost::thread(attributes,
                              [record, body] {
                                  const thread_mark mark(*record);
                                  body();
                              }),
            destroy_thread);
        const std::lock_guard<std::mutex> lock(g_handles_mutex);
        g_handles[result.get()] = handle;
        return result;
    } catch (...) {
        remove_handle(handle);
        throw;
    }
}

HANDLE thread_handle(boost::thread& thread) {
    const std::lock_guard<std::mutex> lock(g_handles_mutex);
    const auto found = g_handles.find(&thread);
    return found == g_handles.end() ? nullptr : found->second;
}

void* get_thread_word() {
    return t_word;
}

void set_thread_word(void* word) {
    t_word = word;
}

void* add_module_reference() {
    Dl_info module;
    if (dladdr(reinterpret_cast<void*>(&add_module_reference), &module) == 0) return nullptr;
    return dlopen(module.dli_fname, RTLD_LAZY | RTLD_NOLOAD);
}

void drop_module_reference(void* reference) {
    if (reference) dlclose(reference);
}

void end_with_module_reference(void* reference) {
    g_arming_key.set(reference);
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
BOOL ProcessIdToSessionId(DWORD, DWORD* session) {
    if (failing(__func__)) return FALSE;
    *session = static_cast<DWORD>(host_number("session", 1));
    return TRUE;
}
HANDLE GetCurrentProcess() {
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-1));
}
HANDLE GetCurrentThread() {
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-2));
}
