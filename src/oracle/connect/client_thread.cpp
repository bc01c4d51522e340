#include "oracle/connect/client_thread.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <exception>
#include <sstream>

#include <boost/chrono/duration.hpp>
#include <boost/make_shared.hpp>

#include "config/agent_config.h"
#include "platform/guard.h"
#include "platform/thread.h"
#include "support/logging/logger.h"
#include "support/logging/scope.h"
#include "support/text/format.h"
#include "support/win/path.h"

namespace specific::oracle {

using logging::g_oralib_log;
using logging::log_scope_t;

namespace {

constexpr int many_hanging = 10;

std::atomic<int> g_hanging{0};

struct SStart {
    boost::shared_ptr<CClientThread::SSigns> signs;
    CClientThread::body_t body;
};

void run(SStart& start) {
    synch::thread_gate_t& gate = start.signs->gate;
    synch::thread_gate_t::set_current(&gate);
    if (synch::thread_gate_t::current() == &gate) {  // the system has no slot for it otherwise
        start.body(*start.signs);
    }
    start.body.clear();  // what it owns goes while the gate still holds
    const bool is_waited_for = gate.end();
    synch::thread_gate_t::set_current(nullptr);
    if (!is_waited_for) {
        start.signs.reset();
        --g_hanging;
        platform::leave_module();
    }
}

// The first GUID of a process asks the system's loader, which a thread that hangs may have when the
// meta file of the others needs one.
void warm_up() {
    try {
        static const std::wstring first = win::make_guid_text();
    } catch (const std::exception&) {
        // Whoever needs one will tell.
    }
}

}  // namespace

void CClientThread::SSigns::set_ready() {
    for (int attempt = 0; attempt < 2; ++attempt) {
        try {
            ready.set();
            return;
        } catch (const std::exception& e) {
            g_oralib_log.log_exception("Unable to tell that a thread is ready", e);
        }
    }
}

CClientThread::CClientThread(const body_t& body) : signs(boost::make_shared<SSigns>()) {
    warm_up();
    const auto start = boost::make_shared<SStart>();
    start->signs = signs;
    start->body = body;
    platform::hold_module();
    try {
        thread = platform::start_thread([start] { run(*start); });
    } catch (...) {
        platform::release_module();
        throw;
    }
    platform_handle = platform::thread_handle(*thread);
}

CClientThread::~CClientThread() {
    if (thread && seen_ready && stop()) {
        end();
    } else if (thread) {
        give_up();
    }
}

bool CClientThread::stop() {
    try {
        signs->stop.set();
        return true;
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Unable to stop a thread", e);
        return false;
    }
}

// It has done its work, but the end of a thread takes the system's loader, which another one that
// hangs may have. Then the module is kept for good.
void CClientThread::end() {
    constexpr boost::chrono::milliseconds longest(500);
    if (thread->try_join_for(longest)) {
        platform::release_module();
    } else {
        thread->detach();
        g_oralib_log.line("A thread that has done its work does not end: the module stays loaded");
    }
    thread.reset();
}

bool CClientThread::wait_ready(std::int64_t milliseconds) {
    constexpr std::int64_t longest = INFINITE - 1;
    const auto limit = static_cast<DWORD>(std::clamp<std::int64_t>(milliseconds, 0, longest));
    seen_ready = signs->ready.wait(limit) == WAIT_OBJECT_0;
    return seen_ready;
}

void CClientThread::give_up() {
    ++g_hanging;
    if (signs->gate.give_up()) {
        thread->detach();
        thread.reset();
        stop();
    } else {
        --g_hanging;
        end();
    }
}

void CClientThread::give_up(const std::string& scope_text) {
    {
        log_scope_t scope(g_oralib_log, scope_text);
        give_up();
        scope.ok();
    }
    const int hanging = g_hanging;
    if (hanging >= many_hanging) {
        g_oralib_log.warning("%1 threads hang in the Oracle client.", util::to_string(hanging));
    }
}

std::string CClientThread::number() const {
    std::stringstream text;
    text << std::hex << thread->get_id();
    unsigned long long number = 0;
    text >> number;
    return util::to_string(static_cast<std::uint64_t>(number));
}

bool call_client_guarded(void (*body)(void*), void* context, void (*log_fault)(DWORD),
                         DWORD& fault) {
    const std::size_t scopes = logging::open_scopes();
    if (platform::call_guarded(body, context, fault)) {
        return true;
    }
    // What the frames in between would have done at their ends.
    synch::thread_gate_t::current()->leave();
    log_fault(fault);
    logging::fail_scopes(g_oralib_log, scopes);
    return false;
}

std::string fault_text(DWORD fault) {
    char code[11];
    std::snprintf(code, sizeof code, "0x%08x", static_cast<unsigned>(fault));
    return code;
}

std::int64_t connection_limit() {
    return std::int64_t{COracleAgentConfig::instance().OracleConnectionTimeout()} * 1000;
}

}  // namespace specific::oracle
