#include "support/logging/scope.h"

#include <exception>

#include "platform/platform.h"
#include "support/logging/context.h"
#include "support/synch/thread_gate.h"
#include "support/text/format.h"

namespace logging {

using util::format_message;

namespace {

void leave_scope(const logger_t& logger) {
    if (synch::thread_gate_t::is_current_gone()) {
        return;
    }
    const std::uint32_t depth = get_depth();
    set_depth(depth > 0 ? depth - 1 : 0);
    const auto held = logger.log()->hold();
    util::CCommonLibCtx::instance().threadStates.pop();
}

monitoring::CThreadTrace own_trace(const logger_t& logger) {
    const auto held = logger.log()->hold();
    return util::CCommonLibCtx::instance().threadStates.get(GetCurrentThreadId());
}

}  // namespace

log_scope_t::log_scope_t(const logger_t& scope_logger, const std::string& scope_text)
    : logger(scope_logger), text(scope_text) {
    logger.write(severity_scope, text);
    if (synch::thread_gate_t::is_current_gone()) {
        return;
    }
    set_depth(get_depth() + 1);
    const auto held = logger.log()->hold();
    util::CCommonLibCtx::instance().threadStates.push(text);
}

log_scope_t::log_scope_t(const logger_t& scope_logger, const std::string& format,
                         const std::string& a)
    : log_scope_t(scope_logger, format_message(format, a)) {}

log_scope_t::log_scope_t(const logger_t& scope_logger, const std::string& format,
                         const std::string& a, const std::string& b)
    : log_scope_t(scope_logger, format_message(format, a, b)) {}

log_scope_t::log_scope_t(const logger_t& scope_logger, const std::string& format,
                         const std::string& a, const std::string& b, const std::string& c)
    : log_scope_t(scope_logger, format_message(format, a, b, c)) {}

log_scope_t::~log_scope_t() {
    if (!open) {
        return;
    }
    try {
        leave_scope(logger);
        logger.write(severity_info, text + " Failed.");
    } catch (const std::exception&) {
        // Out of memory: the line is lost.
    }
}

void log_scope_t::ok() {
    open = false;
    leave_scope(logger);
    logger.write(severity_scope, text + " ok.");
}

std::size_t open_scopes() {
    if (synch::thread_gate_t::is_current_gone()) {
        return 0;
    }
    return own_trace(g_oralib_log).entries().size();
}

void fail_scopes(const logger_t& logger, std::size_t count) {
    if (synch::thread_gate_t::is_current_gone()) {
        return;
    }
    const auto entries = own_trace(logger).entries();
    for (std::size_t i = entries.size(); i > count; --i) {
        leave_scope(logger);
        logger.write(severity_info, entries[i - 1].text + " Failed.");
    }
}

}  // namespace logging
