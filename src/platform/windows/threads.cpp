#include <boost/make_shared.hpp>
#include <boost/thread/detail/tss_hooks.hpp>

#include "platform/thread.h"

namespace platform {

namespace {

// A slot of the system's own: one of the compiler's would be made with a lock and memory.
class thread_slot_t {
  public:
    ~thread_slot_t() { TlsFree(index); }
    const DWORD index = TlsAlloc();
};

const thread_slot_t g_slot;

}  // namespace

boost::shared_ptr<boost::thread> start_thread(const boost::function<void()>& body) {
    boost::thread::attributes attributes;
    attributes.set_stack_size(thread_stack_size);
    return boost::make_shared<boost::thread>(attributes, body);
}

HANDLE thread_handle(boost::thread& thread) {
    return thread.native_handle();
}

void* get_thread_word() {
    const DWORD error = GetLastError();
    void* const word = TlsGetValue(g_slot.index);  // sets the last error, to 0 as well
    SetLastError(error);
    return word;
}

void set_thread_word(void* word) {
    TlsSetValue(g_slot.index, word);
}

void* add_module_reference() {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<const wchar_t*>(&add_module_reference), &module);
    return module;
}

void drop_module_reference(void* reference) {
    if (reference) {
        FreeLibrary(static_cast<HMODULE>(reference));
    }
}

void end_with_module_reference(void* reference) {
    if (reference) {
        boost::on_thread_exit();  // what boost::thread would do behind the body
        FreeLibraryAndExitThread(static_cast<HMODULE>(reference), 0);
    }
}

}  // namespace platform
