// A thread of ours that calls the Oracle client, which can hang in it for ever.
#pragma once

#include <cstdint>
#include <string>

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/thread.hpp>

#include "platform/platform.h"
#include "support/synch/thread_gate.h"
#include "support/win/event.h"

namespace specific::oracle {

/// A thread that its owner may give up on. Nobody is ended by force: one that was given up on is
/// never touched again. If it comes back, its gate refuses every call of the client, the log is
/// closed to it, and all that is left to it is to free what it alone holds and to end. The module
/// stays loaded until then.
class CClientThread {
  public:
    /// What thread and owner share.
    struct SSigns {
        synch::thread_gate_t gate;
        win::win_manual_reset_event_t ready;  ///< by the thread: what its owner waits for is done
        win::win_manual_reset_event_t stop;   ///< by the owner: the thread has nothing to wait for

        /// Tries twice: where both fail, which is logged, the owner waits to its limit.
        void set_ready();
    };
    /// Owns all that it touches, since it may outlast its owner. Throws nothing.
    using body_t = boost::function<void(SSigns&)>;

    /// Runs `body` on a new thread. Throws what the system's refusal becomes.
    explicit CClientThread(const body_t& body);
    /// Tells the thread to stop and waits for its end; one that was never seen ready is given up
    /// on.
    ~CClientThread();
    CClientThread(const CClientThread&) = delete;
    CClientThread& operator=(const CClientThread&) = delete;

    /// Waits for `ready` for so many milliseconds by the steady clock; 0 and less only looks. False
    /// when it has not come: what comes later is not looked at any more.
    bool wait_ready(std::int64_t milliseconds);

    /// For the owner, who waits for nobody here. Logs `scope_text` before and behind it, and how
    /// many hang when they are many.
    void give_up(const std::string& scope_text);

    /// For SetThreadToken.
    HANDLE handle() { return platform_handle; }
    /// The thread's number, in decimal.
    std::string number() const;

  private:
    bool stop();
    void end();
    void give_up();

    boost::shared_ptr<SSigns> signs;
    boost::shared_ptr<boost::thread> thread;  // empty once joined or given up on
    HANDLE platform_handle;
    bool seen_ready = false;
};

/// Runs `body(context)` on a CClientThread. False when a fault in the client ended it, with its
/// code in `fault`: the gate is outside again, `log_fault` has told, and the scopes that the body
/// had open have failed. A client that has faulted must not be called again for the session in
/// question, not even to free its handles.
bool call_client_guarded(void (*body)(void*), void* context, void (*log_fault)(DWORD),
                         DWORD& fault);
/// "0x" and eight digits.
std::string fault_text(DWORD fault);

/// OracleConnectionTimeout in milliseconds.
std::int64_t connection_limit();

}  // namespace specific::oracle
