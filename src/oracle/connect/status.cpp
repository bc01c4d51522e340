#include "oracle/connect/status.h"

#include <atomic>
#include <exception>
#include <sstream>

#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/make_shared.hpp>
#include <boost/thread/thread.hpp>

#include "config/agent_config.h"
#include "oracle/connect/errors.h"
#include "oracle/connect/terminate.h"
#include "platform/thread.h"
#include "support/exc/rethrow.h"
#include "support/logging/logger.h"
#include "support/logging/scope.h"
#include "support/text/convert.h"
#include "support/text/format.h"

namespace specific::oracle {

using logging::g_oralib_log;
using logging::log_scope_t;

namespace {

// What the probe thread brings home. Its own, not the caller's frame: a thread that could not be
// ended may still write to it.
struct probe_t {
    probe_t(boost::shared_ptr<COracleSession> probed, EStatusKind probe_kind)
        : session(std::move(probed)), kind(probe_kind) {}

    boost::shared_ptr<COracleSession> session;
    EStatusKind kind;
    std::atomic<DWORD> thread_id{0};
    std::wstring status;
    boost::shared_ptr<exc::exc_base_t> error;
};

const char* kind_word(EStatusKind kind) {
    return kind == EStatusKind::instance ? "instance" : "database";
}

std::wstring query_status(const COracleSession& session, EStatusKind kind) {
    try {
        log_scope_t scope(g_oralib_log, "Getting oracle %1 status implementation", kind_word(kind));
        std::wstring status;
        switch (kind) {
            case EStatusKind::instance:
                status = session.query()->exec_value("SELECT STATUS FROM V$INSTANCE", true);
                break;
            case EStatusKind::database:
                status =
                    session.query()->exec_value("SELECT DATABASE_STATUS FROM V$INSTANCE", true);
                break;
            default:
                throw exc::runtime_exc_t("Unknown query type: %1",
                                         util::to_string(static_cast<std::uint32_t>(kind)));
        }
        g_oralib_log.line("Oracle %1 status: %2", kind_word(kind), util::to_ansi(status));
        scope.ok();
        return status;
    } catch (const std::exception& e) {
        g_oralib_log.log_exception_thread("Checking if oracle %1 is open thread failed",
                                          kind_word(kind), e);
        throw;
    }
}

void run_probe(probe_t& probe) {
    probe.thread_id = GetCurrentThreadId();
    try {
        probe.status = query_status(*probe.session, probe.kind);
    } catch (const std::exception& e) {
        g_oralib_log.log_exception_thread("Getting oracle %1 thread failed", "database", e);
        probe.error = exc::capture_exception(e);
    }
}

std::string thread_number(const boost::thread& thread) {
    std::stringstream text;
    text << std::hex << thread.get_id();
    unsigned long long number = 0;
    text >> number;
    return util::to_string(static_cast<std::uint64_t>(number));
}

void terminate_probe(boost::thread& thread, DWORD thread_id) {
    const std::string number = thread_number(thread);
    log_scope_t scope(g_oralib_log, "Terminating thread %1", number);
    const DWORD error = terminate_thread(thread, thread_id);
    if (error != ERROR_SUCCESS) {
        throw exc::win_sys_exc_t("Failed to terminate thread %1", number, error);
    }
    scope.ok();
}

}  // namespace

void get_status(boost::shared_ptr<exc::exc_base_t>& error_slot, std::wstring& status,
                const boost::shared_ptr<COracleSession>& session, EStatusKind kind) {
    try {
        log_scope_t scope(g_oralib_log, "Getting oracle %1 status", kind_word(kind));
        error_slot.reset();
        status.clear();
        const auto probe = boost::make_shared<probe_t>(session, kind);
        const auto share = boost::make_shared<boost::shared_ptr<probe_t>>(probe);
        const auto thread = platform::start_thread([share] { run_probe(**share); });

        const boost::system_time deadline =
            boost::posix_time::microsec_clock::universal_time() +
            boost::posix_time::seconds(COracleAgentConfig::instance().OracleConnectionTimeout());
        if (!thread->timed_join(deadline)) {
            session->abandon();
            terminate_probe(*thread, probe->thread_id);
            share->reset();  // what the thread held is lost with its stack
            throw COracleStatusQueryTimeoutExc(
                "Failed to wait checking if oracle instance is opened");
        }

        error_slot = probe->error;
        if (error_slot) {
            error_slot->rethrow();
        }
        status = probe->status;
        g_oralib_log.line("Oracle instance status: %1", util::to_ansi(status));
        scope.ok();
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Checking if oracle instance is open thread failed.", e);
    }
}

bool is_instance_open(boost::shared_ptr<exc::exc_base_t>& error_slot,
                      const boost::shared_ptr<COracleSession>& session, bool started_is_enough) {
    try {
        if (session->not_started()) {
            g_oralib_log.line("Oracle instance is shutdown");
            return false;
        }
        if (started_is_enough) {
            return true;
        }
        std::wstring status;
        get_status(error_slot, status, session, EStatusKind::instance);
        return status.rfind(L"OPEN", 0) == 0 || status.rfind(L"OPEN MIGRATE", 0) == 0;
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("OracleSession: failed to check if instance is open.", e);
    }
}

bool is_db_active(boost::shared_ptr<exc::exc_base_t>& error_slot,
                  const boost::shared_ptr<COracleSession>& session) {
    try {
        std::wstring status;
        get_status(error_slot, status, session, EStatusKind::database);
        return status.rfind(L"ACTIVE", 0) == 0;
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to check if oracle db is active.", e);
    }
}

}  // namespace specific::oracle
