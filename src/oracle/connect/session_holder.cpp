#include "oracle/connect/session_holder.h"

#include <cstdlib>
#include <exception>

#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/recursive_mutex.hpp>

#include "oracle/connect/client_thread.h"
#include "oracle/connect/errors.h"
#include "oracle/connect/interface.h"
#include "platform/platform.h"
#include "support/exc/rethrow.h"
#include "support/logging/logger.h"
#include "support/logging/scope.h"
#include "support/synch/thread_gate.h"
#include "support/text/convert.h"
#include "support/win/event.h"
#include "support/win/handle.h"

namespace specific::oracle {

using logging::g_oralib_log;
using logging::log_scope_t;

namespace {

constexpr DWORD token_wait_ms = 1814400000;  // 21 days
constexpr DWORD token_wait_step_ms = 1000;

boost::recursive_mutex session_creation_lock;
boost::mutex environment_lock;

void set_env_variable(const wchar_t* name, const std::wstring& value) {
    const std::string assignment = util::to_ansi(std::wstring(name) + L"=" + value);
    g_oralib_log.line("Setting env variable: %1", assignment);
    // With the one before it in its place the client would connect to another database. To remove
    // what is not there may fail.
    if (_putenv(assignment.c_str()) != 0 && !value.empty()) {
        throw exc::runtime_exc_t("Failed to set env variable: %1", assignment);
    }
}

}  // namespace

// Shared with the init thread, which outlasts the holder when it hangs.
struct COracleSessionHolder::SState {
    abandoned_t abandoned = make_abandoned();   // of every session that the thread makes
    boost::shared_ptr<COracleSession> session;  // the thread's until it is ready
    std::wstring home;
    std::wstring sid;
    SOracleCredentials login;
    bool prelim = false;
    boost::shared_ptr<exc::exc_base_t> init_error;
    win::win_manual_reset_event_t token_ready;
};

namespace {

using state_t = COracleSessionHolder::SState;

// Steps, since a thread that was given up on gets no token any more.
void wait_for_token(const state_t& state, const synch::thread_gate_t& gate) {
    for (DWORD waited = 0; waited < token_wait_ms && !gate.is_gone();
         waited += token_wait_step_ms) {
        if (state.token_ready.wait(token_wait_step_ms) != WAIT_TIMEOUT) {
            return;
        }
    }
}

// Under the lock, so that a thread that was given up on meanwhile finds the next one's variables
// either not yet written or not any more its own to write: it would send that one to another
// database.
void set_environment(const state_t& state, const synch::thread_gate_t& gate) {
    if (gate.is_gone()) {
        return;
    }
    const boost::lock_guard<boost::mutex> lock(environment_lock);
    if (!gate.is_gone()) {
        set_env_variable(L"ORACLE_HOME", state.home);
        set_env_variable(L"ORACLE_SID", state.sid);
    }
}

COracleSession& start_session(state_t& state) {
    state.session = boost::make_shared<COracleSession>(state.login, state.abandoned);
    return *state.session;
}

void connect_session(state_t& state) {
    log_scope_t scope(g_oralib_log, "Trying to initialize oracle interface");
    const ub4 mode = state.prelim ? OCI_PRELIM_AUTH : OCI_DEFAULT;
    try {
        start_session(state).init(OCI_SYSDBA | mode);
    } catch (const COracleExc& e) {
        if (state.login.user.empty()) {
            throw;
        }
        g_oralib_log.log_exception(
            "Failed to connect as SYSDBA: insufficient privileges or channel error. "
            "Connecting by default. Login: %1",
            state.login.user, e);
        start_session(state).init(mode);
    }
    scope.ok();
}

void log_fault(DWORD fault) {
    if (fault == delay_load_module_not_found || fault == delay_load_entry_point_not_found) {
        g_oralib_log.warning("Failed to load OCI library");
        return;
    }
    g_oralib_log.warning(
        "SEH exception has occurred while initializing Oracle session, exception code: %1",
        fault_text(fault));
}

// A fault leaves no exception behind: the session shows that it never began.
void connect_guarded(state_t& state) {
    DWORD fault = 0;
    if (!call_client_guarded(
            [](void* context) { connect_session(*static_cast<state_t*>(context)); }, &state,
            log_fault, fault)) {
        *state.abandoned = true;
    }
}

// Connects, and then stays parked until the owner goes.
void run_init_thread(state_t& state, CClientThread::SSigns& signs) {
    try {
        wait_for_token(state, signs.gate);
        set_environment(state, signs.gate);
        if (signs.gate.is_gone()) {
            return;
        }
        get_interface();
        connect_guarded(state);
        state.login.password.wipe();
        signs.set_ready();
    } catch (const std::exception& e) {
        g_oralib_log.log_exception_thread("Oracle session init thread failed", e);
        state.init_error = exc::capture_exception(e);
        signs.set_ready();
        return;
    }
    signs.stop.wait(INFINITE);
}

}  // namespace

COracleSessionHolder::COracleSessionHolder(const std::wstring& sid, const std::wstring& home,
                                           const SOracleCredentials& login, bool prelim) {
    const std::string sid_text = util::to_ansi_safe(sid);
    try {
        log_scope_t scope(g_oralib_log, "Creating oracle session holder: %1.", sid_text);
        state = boost::make_shared<SState>();
        state->sid = sid;
        state->home = home;
        state->login = login;
        state->prelim = prelim;
        const boost::lock_guard<boost::recursive_mutex> lock(session_creation_lock);
        connect();
        scope.ok();
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to create oracle session holder. SID: %1.", sid_text, e);
    }
}

COracleSessionHolder::~COracleSessionHolder() {
    try {
        init_thread.reset();
        state.reset();
    } catch (const std::exception& e) {
        g_oralib_log.log_exception("Unable to destroy oracle session correctly", e);
    }
}

void COracleSessionHolder::connect() {
    init_thread = boost::make_shared<CClientThread>(
        [shared = state](CClientThread::SSigns& signs) { run_init_thread(*shared, signs); });
    try {
        update_token();
    } catch (const std::exception& e) {
        give_up();
        exc::rethrow_with_trace("Failed to update oracle init thread token", e);
    }
    if (!init_thread->wait_ready(connection_limit())) {
        give_up();
        throw COracleInitTimeoutExc("Failed to wait oracle session initialization");
    }
    if (state->init_error) {
        state->init_error->rethrow();
    }
    if (!state->session) {
        throw COracleSessionCreateExc("Failed to create oracle session holder.");
    }
    if (!state->session->has_begun()) {
        throw COracleSessionCreateExc(
            "Failed to create oracle session holder. Session is invalid.");
    }
}

void COracleSessionHolder::update_token() {
    log_scope_t scope(g_oralib_log, "Updating oracle init thread token.");
    HANDLE opened = nullptr;
    if (OpenThreadToken(GetCurrentThread(), TOKEN_IMPERSONATE, TRUE, &opened)) {
        const win::win_handle_t token(opened);
        HANDLE handle = init_thread->handle();
        if (!SetThreadToken(&handle, token.get())) {
            const DWORD error = GetLastError();
            throw exc::win_sys_exc_t("Failed to set oracle init thread token", error);
        }
    } else {
        const DWORD error = GetLastError();
        if (error != ERROR_NO_TOKEN) {
            throw exc::win_sys_exc_t("Failed to open main thread token", error);
        }
        g_oralib_log.line("There is no token in the current thread");
    }
    state->token_ready.set();
    scope.ok();
}

// The thread first: one that is refused for its session while it is not gone yet would say so.
void COracleSessionHolder::give_up() {
    init_thread->give_up("Terminating oracle init thread");
    *state->abandoned = true;
}

boost::shared_ptr<COracleSession> COracleSessionHolder::get_session() const {
    return state->session;
}

std::wstring COracleSessionHolder::get_sid() const {
    return state->sid;
}
std::wstring COracleSessionHolder::get_home() const {
    return state->home;
}

boost::shared_ptr<COracleSessionHolder> create_session_holder(const SOracleSid& sid_record,
                                                              const SOracleCredentials& login) {
    try {
        return boost::make_shared<COracleSessionHolder>(sid_record.sid, sid_record.home, login,
                                                        false);
    } catch (const std::exception& e) {
        g_oralib_log.log_exception_thread("Failed to create session holder for SID: %1",
                                          util::to_ansi_safe(sid_record.sid), e);
        return boost::shared_ptr<COracleSessionHolder>();
    }
}

}  // namespace specific::oracle
