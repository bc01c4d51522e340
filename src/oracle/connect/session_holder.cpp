#include "oracle/connect/session_holder.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include <boost/chrono/duration.hpp>
#include <boost/make_shared.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <boost/thread/thread.hpp>

#include "config/agent_config.h"
#include "oracle/connect/errors.h"
#include "oracle/connect/interface.h"
#include "oracle/connect/terminate.h"
#include "platform/guard.h"
#include "platform/platform.h"
#include "platform/thread.h"
#include "support/exc/rethrow.h"
#include "support/logging/logger.h"
#include "support/logging/scope.h"
#include "support/text/convert.h"
#include "support/win/event.h"
#include "support/win/handle.h"

namespace specific::oracle {

using logging::g_oralib_log;
using logging::log_scope_t;

namespace {

constexpr DWORD token_wait_ms = 1814400000;  // 21 days

boost::recursive_mutex session_creation_lock;

void set_env_variable(const wchar_t* name, const std::wstring& value) {
    const std::string assignment = util::to_ansi(std::wstring(name) + L"=" + value);
    g_oralib_log.line("Setting env variable: %1", assignment);
    _putenv(assignment.c_str());
}

}  // namespace

// Shared with the init thread, which may outlast the holder when it cannot be ended.
struct COracleSessionHolder::SState {
    std::atomic<DWORD> thread_id{0};
    std::atomic<bool> given_up{false};          // set under ready_mutex
    boost::shared_ptr<COracleSession> session;  // under ready_mutex until ready
    std::wstring home;
    std::wstring sid;
    SOracleCredentials login;
    bool prelim = false;
    boost::shared_ptr<exc::exc_base_t> init_error;
    win::win_manual_reset_event_t token_ready;
    boost::mutex ready_mutex;
    boost::condition_variable ready_cond;
    bool ready = false;
    boost::mutex stop_mutex;
    boost::condition_variable stop_cond;
    bool stop = false;
};

// The thread that connects and then stays parked until its owner goes.
class COracleSessionHolder::CInitThread {
  public:
    explicit CInitThread(boost::shared_ptr<SState> shared_state)
        : state(std::move(shared_state)),
          share(boost::make_shared<boost::shared_ptr<SState>>(state)),
          thread(platform::start_thread([held = share] { run(**held); })) {}

    ~CInitThread() {
        {
            const boost::lock_guard<boost::mutex> lock(state->stop_mutex);
            state->stop = true;
        }
        state->stop_cond.notify_all();
        if (thread->joinable()) {  // one that was given up on is detached
            thread->join();
        }
    }

    void update_token() {
        log_scope_t scope(g_oralib_log, "Updating oracle init thread token.");
        HANDLE opened = nullptr;
        if (OpenThreadToken(GetCurrentThread(), TOKEN_IMPERSONATE, TRUE, &opened)) {
            const win::win_handle_t token(opened);
            HANDLE handle = platform::thread_handle(*thread);
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

    void terminate() {
        log_scope_t scope(g_oralib_log, "Terminating oracle init thread");
        const DWORD error = terminate_thread(*thread, state->thread_id);
        if (error != ERROR_SUCCESS) {
            throw exc::win_sys_exc_t("Failed to terminate oracle session init thread", error);
        }
        // The thread's own reference is lost with its stack; the logon must not be.
        share->reset();
        scope.ok();
    }

  private:
    static void run(SState& state) {
        state.thread_id = GetCurrentThreadId();
        try {
            state.token_ready.wait(token_wait_ms);
            if (state.given_up) {
                return;
            }
            set_env_variable(L"ORACLE_HOME", state.home);
            set_env_variable(L"ORACLE_SID", state.sid);
            get_interface();
            connect_guarded(state);
            set_ready(state);
        } catch (const std::exception& e) {
            if (state.given_up) {
                return;
            }
            g_oralib_log.log_exception_thread("Oracle session init thread failed", e);
            state.init_error = exc::capture_exception(e);
            set_ready(state);
            return;
        }
        boost::unique_lock<boost::mutex> lock(state.stop_mutex);
        state.stop_cond.wait(lock, [&state] { return state.stop; });
    }

    static void set_ready(SState& state) {
        {
            const boost::lock_guard<boost::mutex> lock(state.ready_mutex);
            state.ready = true;
        }
        state.ready_cond.notify_all();
    }

    // A fault leaves no exception behind: the session shows that it never began.
    static void connect_guarded(SState& state) {
        DWORD fault = 0;
        const std::uint32_t depth = logging::get_depth();
        if (platform::call_guarded([](void* context) { connect(*static_cast<SState*>(context)); },
                                   &state, fault)) {
            return;
        }
        if (state.given_up) {
            return;
        }
        // The scopes in between were left without their ends.
        logging::set_depth(depth);
        logging::forget_scopes(g_oralib_log, state.thread_id);
        if (fault == delay_load_module_not_found || fault == delay_load_entry_point_not_found) {
            g_oralib_log.warning("Failed to load OCI library");
        } else {
            char code[11];
            std::snprintf(code, sizeof code, "0x%08x", static_cast<unsigned>(fault));
            g_oralib_log.warning(
                "SEH exception has occurred while initializing Oracle session, exception code: %1",
                code);
        }
        // A client that has faulted is not called again, not even to free its handles.
        if (state.session) {
            state.session->abandon();
        }
    }

    static void connect(SState& state) {
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

    // The session is in the state before any OCI call, so that a waiter who gives up finds it. No
    // reference stays on this thread's stack, which is lost if the thread is ended.
    static COracleSession& start_session(SState& state) {
        auto session = boost::make_shared<COracleSession>(state.login);
        COracleSession& started = *session;
        const boost::lock_guard<boost::mutex> lock(state.ready_mutex);
        if (state.given_up) {
            throw COracleInitTimeoutExc("Failed to wait oracle session initialization");
        }
        state.session.swap(session);
        return started;
    }

    boost::shared_ptr<SState> state;
    boost::shared_ptr<boost::shared_ptr<SState>> share;  // what the thread holds of the state
    boost::shared_ptr<boost::thread> thread;
};

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
    init_thread = boost::make_shared<CInitThread>(state);
    try {
        init_thread->update_token();
    } catch (const std::exception& e) {
        const boost::lock_guard<boost::mutex> lock(state->ready_mutex);
        give_up();
        exc::rethrow_with_trace("Failed to update oracle init thread token", e);
    }

    boost::unique_lock<boost::mutex> lock(state->ready_mutex);
    const boost::chrono::seconds limit(COracleAgentConfig::instance().OracleConnectionTimeout());
    if (!state->ready_cond.wait_for(lock, limit, [this] { return state->ready; })) {
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

// Runs under ready_mutex, which the init thread then cannot die holding.
void COracleSessionHolder::give_up() {
    state->given_up = true;
    if (state->session) {
        state->session->abandon();
    }
    init_thread->terminate();
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
