// A step in the log.
#pragma once

#include <string>

#include "support/logging/logger.h"

namespace logging {

/// Writes its text at the start, indents what follows on this thread, and writes the text again at
/// the end: with " ok." by ok(), with " Failed." where the scope is left without it. Lives on one
/// thread's stack.
class log_scope_t {
  public:
    log_scope_t(const logger_t& scope_logger, const std::string& scope_text);
    log_scope_t(const logger_t& scope_logger, const std::string& format, const std::string& a);
    log_scope_t(const logger_t& scope_logger, const std::string& format, const std::string& a,
                const std::string& b);
    log_scope_t(const logger_t& scope_logger, const std::string& format, const std::string& a,
                const std::string& b, const std::string& c);
    ~log_scope_t();
    log_scope_t(const log_scope_t&) = delete;
    log_scope_t& operator=(const log_scope_t&) = delete;

    void ok();

  private:
    const logger_t& logger;
    std::string text;
    bool open = true;
};

/// How many scopes the calling thread is in.
std::size_t open_scopes();
/// Ends all but the first `count` scopes of the calling thread as failed: a fault left their frames
/// without their ends.
void fail_scopes(const logger_t& logger, std::size_t count);

}  // namespace logging
