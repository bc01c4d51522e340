#include "support/synch/thread_gate.h"

#include "platform/thread.h"

namespace synch {

thread_gate_t* thread_gate_t::current() {
    return static_cast<thread_gate_t*>(platform::get_thread_word());
}

void thread_gate_t::set_current(thread_gate_t* gate) {
    platform::set_thread_word(gate);
}

bool thread_gate_t::is_current_gone() {
    const thread_gate_t* const gate = current();
    return gate && gate->is_gone();
}

bool thread_gate_t::give_up() {
    return word.exchange(gone) != ended;
}

}  // namespace synch
