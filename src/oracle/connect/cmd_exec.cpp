#include "oracle/connect/cmd_exec.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <exception>

#include "oracle/connect/interface.h"
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
        env->check((*get_interface())
                       ->StmtPrepare(statement->get<OCIStmt>(), env->error_handle(),
                                     reinterpret_cast<const OraText*>(text.c_str()),
                                     static_cast<ub4>(std::strlen(text.c_str())), OCI_NTV_SYNTAX,
                                     OCI_DEFAULT));
        scope.ok();
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to create oracle cmd executor.", e);
    }
}

void COracleCmdExec::bind(const std::string& name, void* value, ub2 data_type, sb4 value_size) {
    try {
        OCIBind* bind = nullptr;
        env->check((*get_interface())
                       ->BindByName(statement->get<OCIStmt>(), &bind, env->error_handle(),
                                    reinterpret_cast<const OraText*>(name.c_str()), -1, value,
                                    value_size, data_type, nullptr, nullptr, nullptr, 0, nullptr,
                                    OCI_DEFAULT));
    } catch (const std::exception& e) {
        exc::rethrow_with_trace("Failed to bind param [%1] to cmd executor, handle: %2", name,
                                handle_text(), e);
    }
}

void COracleCmdExec::execute() {
    try {
        log_scope_t scope(g_oralib_log, "Executing oracle cmd: %1", handle_text());
        env->check((*get_interface())
                       ->StmtExecute(service_context->get<OCISvcCtx>(), statement->get<OCIStmt>(),
                                     env->error_handle(), 1, 0, nullptr, nullptr, OCI_DEFAULT));
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
