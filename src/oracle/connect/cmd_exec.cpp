#include "oracle/connect/cmd_exec.h"

#include <cinttypes>
#include <cstdio>
#include <exception>

#include "support/exc/rethrow.h"
#include "support/logging/logger.h"
#include "support/logging/scope.h"

namespace specific::oracle {

using logging::g_oralib_log;
using logging::log_scope_t;

COracleCmdExec::COracleCmdExec(boost::shared_ptr<COracleEnv> oracle_env,
                               boost::shared_ptr<COracleHandle> service, const std::string& text)
    : env(std::move(oracle_env)), service_context(std::move(service)) {
    try {
        log_scope_t scope(g_oralib_log, "Creating oracle cmd executor: %1", text);
        statement = env->alloc_handle(OCI_HTYPE_STMT);
        get_interface()->stmt_prepare(*env, *statement, text);
        scope.ok();
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to create oracle cmd executor.", e);
    }
}

void COracleCmdExec::bind(const std::string& name, void* value, ub2 data_type, sb4 value_size) {
    try {
        get_interface()->bind_by_name(*env, *statement, name, value, value_size, data_type);
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to bind param [%1] to cmd executor, handle: %2", name,
                                handle_text(), e);
    }
}

void COracleCmdExec::execute() {
    try {
        log_scope_t scope(g_oralib_log, "Executing oracle cmd: %1", handle_text());
        get_interface()->stmt_execute(*env, *service_context, *statement, 1);
        scope.ok();
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to execute oracle command, handle: %1", handle_text(), e);
    }
}

std::string COracleCmdExec::handle_text() const {
    char text[19];
    std::snprintf(text, sizeof text, "0x%016" PRIxPTR,
                  reinterpret_cast<std::uintptr_t>(statement->get()));
    return text;
}

}  // namespace specific::oracle
