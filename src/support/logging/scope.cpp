#include "support/logging/scope.h"

#include <exception>

#include "support/logging/context.h"
#include "support/text/format.h"

namespace logging {

using util::format_message;

log_scope_t::log_scope_t(const logger_t& scope_logger, const std::string& scope_text)
    : logger(scope_logger), text(scope_text) {
    logger.write(severity_scope, text);
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
        leave();
        logger.write(severity_info, text + " Failed.");
    } catch (const std::exception&) {
        // Out of memory: the line is lost.
    }
}

void log_scope_t::ok() {
    leave();
    logger.write(severity_scope, text + " ok.");
}

void log_scope_t::leave() {
    open = false;
    const std::uint32_t depth = get_depth();
    set_depth(depth > 0 ? depth - 1 : 0);
    const auto held = logger.log()->hold();
    util::CCommonLibCtx::instance().threadStates.pop();
}

void forget_scopes(const logger_t& logger, std::uint32_t thread_id) {
    const auto held = logger.log()->hold();
    util::CCommonLibCtx::instance().threadStates.forget(thread_id);
}

}  // namespace logging
