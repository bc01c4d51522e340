// The word that says whether a thread of ours may still act.
#pragma once

#include <atomic>

namespace synch {

/// One word for each thread that may be given up on: outside of foreign code, inside it, gone
/// (given up on), or ended. Every change is one atomic step, so that nothing comes between the look
/// at the word and the call that it allows. A host's own thread has no gate and is never gone.
class thread_gate_t {
  public:
    /// The calling thread's; null for one that was not given any.
    static thread_gate_t* current();
    /// `gate` has to live until it is taken away with null.
    static void set_current(thread_gate_t* gate);
    /// The calling thread was given up on: it leaves everything alone, the log first of all.
    static bool is_current_gone();

    thread_gate_t() = default;
    thread_gate_t(const thread_gate_t&) = delete;
    thread_gate_t& operator=(const thread_gate_t&) = delete;

    /// By the thread itself; false when it is gone.
    bool enter() { return change(outside, inside); }
    bool leave() { return change(inside, outside); }
    /// Its last step; false when it is gone.
    bool end() { return change(outside, ended); }

    /// By whoever waits for the thread; false when the thread has ended by itself.
    bool give_up();
    bool is_gone() const { return word == gone; }

  private:
    enum state_t { outside, inside, gone, ended };

    bool change(state_t from, state_t to);

    std::atomic<state_t> word{outside};
};

}  // namespace synch
