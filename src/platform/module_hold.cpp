// Counting who needs the module to stay.
#include <atomic>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include "platform/thread.h"

namespace platform {

namespace {

boost::mutex g_mutex;  // among those that hold; who releases takes no lock
std::atomic<int> g_holders{0};
std::atomic<void*> g_reference{nullptr};

}  // namespace

// The first holder has the reference before a second one goes on, and nobody who was counted can
// hang in the loader before there is one.
void hold_module() {
    const boost::lock_guard<boost::mutex> lock(g_mutex);
    if (g_holders++ == 0) {
        g_reference = add_module_reference();
    }
}

void release_module() {
    void* const reference = g_reference;
    if (--g_holders == 0) {
        drop_module_reference(reference);
    }
}

// A reference of the thread's own, which it may wait for as long as it takes, covers the steps
// between the count and the thread's way out.
void leave_module() {
    void* const own = add_module_reference();
    if (!own) {
        return;  // the module stays
    }
    release_module();
    end_with_module_reference(own);
}

}  // namespace platform
