#include "support/synch/thread_gate.h"

#include <boost/chrono/duration.hpp>
#include <boost/thread/thread.hpp>

#include "platform/thread.h"

namespace synch {

namespace {

std::atomic<bool> g_module_ended{false};

// A module that is only unloaded waits for the last thread that was given up on. Where one is still
// out when the module's objects go, it is the process that ends.
struct module_end_t {
    ~module_end_t() { g_module_ended = true; }
};

// Nothing is left of what it could come back to, and the end of the process does not wait for it.
void stay_at_the_end() {
    while (g_module_ended) {
        boost::this_thread::sleep_for(boost::chrono::hours(1));
    }
}

}  // namespace

thread_gate_t* thread_gate_t::current() {
    return static_cast<thread_gate_t*>(platform::get_thread_word());
}

void thread_gate_t::set_current(thread_gate_t* gate) {
    platform::set_thread_word(gate);
}

bool thread_gate_t::is_current_gone() {
    const thread_gate_t* const gate = current();
    const bool is_gone = gate && gate->is_gone();
    if (is_gone) {
        stay_at_the_end();
    }
    return is_gone;
}

bool thread_gate_t::change(state_t from, state_t to) {
    if (word.compare_exchange_strong(from, to)) {
        return true;
    }
    stay_at_the_end();
    return false;
}

bool thread_gate_t::give_up() {
    static const module_end_t end;  // made late, so that it goes before what such a thread uses
    return word.exchange(gone) != ended;
}

}  // namespace synch
