#include "oracle/connect/status.h"

#include <exception>

#include <boost/make_shared.hpp>

#include "oracle/connect/client_thread.h"
#include "oracle/connect/errors.h"
#include "support/exc/rethrow.h"
#include "support/logging/logger.h"
#include "support/logging/scope.h"
#include "support/text/convert.h"
#include "support/text/format.h"

namespace specific::oracle {

using logging::g_oralib_log;
using logging::log_scope_t;

namespace {

// What the probe thread brings home: its own, not the caller's frame, which it may outlast.
struct probe_t {
    probe_t(boost::shared_ptr<COracleSession> probed, EStatusKind probe_kind)
        : session(std::move(probed)), kind(probe_kind) {}

    boost::shared_ptr<COracleSession> session;
    EStatusKind kind;
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

void log_fault(DWORD fault) {
    g_oralib_log.warning("SEH exception has occurred in the Oracle client, exception code: %1",
                         fault_text(fault));
}

void run_probe(probe_t& probe, CClientThread::SSigns& signs) {
    try {
        DWORD fault = 0;
        if (!call_client_guarded(
                [](void* context) {
                    auto& own = *static_cast<probe_t*>(context);
                    own.status = query_status(*own.session, own.kind);
                },
                &probe, log_fault, fault)) {
            probe.session->abandon();
            throw exc::runtime_exc_t("The Oracle client has faulted, exception code: %1",
                                     fault_text(fault));
        }
    } catch (const std::exception& e) {
        g_oralib_log.log_exception_thread("Getting oracle %1 thread failed", "database", e);
        probe.error = exc::capture_exception(e);
    }
    signs.set_ready();
}

}  // namespace

void get_status(boost::shared_ptr<exc::exc_base_t>& error_slot, std::wstring& status,
                const boost::shared_ptr<COracleSession>& session, EStatusKind kind) {
    try {
        log_scope_t scope(g_oralib_log, "Getting oracle %1 status", kind_word(kind));
        error_slot.reset();
        status.clear();
        const auto probe = boost::make_shared<probe_t>(session, kind);
        CClientThread thread([probe](CClientThread::SSigns& signs) { run_probe(*probe, signs); });
        if (!thread.wait_ready(connection_limit())) {
            thread.give_up("Terminating thread " + thread.number());
            session->abandon();
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
